#include "patch/compact/Writer.h"

#include <algorithm>
#include <future>
#include <memory>
#include <optional>

#include "archive/Names.h"
#include "delta/Delta.h"
#include "delta/OldIndex.h"
#include "patch/Contents.h"
#include "patch/InOrder.h"
#include "patch/compact/CompactFile.h"
#include "patch/compact/Decoder.h"
#include "patch/compact/GrowingEncoder.h"
#include "patch/compact/References.h"
#include "platform/Error.h"
#include "platform/NewFile.h"

namespace patch::compact {
namespace {

using delta::ByteBuffer;
using delta::ByteView;

// A section of contents ends with the member that brings it to so many bytes: readers hold one.
constexpr std::size_t kSectionBytes = 256U << 10;
// Contents that wait to be coded.
constexpr std::uint64_t kMostWaiting = std::uint64_t{64} << 20;
// A member is counted as changed almost wholly when it takes more than half its bytes.
constexpr std::uint64_t kRewrittenShare = 2;

ByteView View(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// A new file that gets its name when it is whole; in a dry run only its bytes are counted.
class Output {
public:
    explicit Output(const WriteOptions& options) : options_(options) {
        if (options.dryRun) return;
        const std::size_t name = options.result.find_last_of("/\\") + 1;
        const std::string folder = name == 0 ? "." : options.result.substr(0, name);
        if (!folder_.Open(folder.c_str()) || !file_.Begin(folder_, options.result.substr(name))) {
            Fail("cannot create a file in its folder");
        }
    }

    void Write(ByteView bytes) {
        digest_.Update(std::as_bytes(bytes));
        Append(std::as_bytes(bytes));
    }

    // Writes the digest of all bytes, and gives the file its name. Returns its bytes.
    std::uint64_t Finish() {
        Append(digest_.Finish());
        if (options_.dryRun || file_.Publish(options_.replace)) return bytes_;
        if (platform::LastError().kind != platform::ErrorKind::Exists) {
            Fail("cannot give the file its name");
        }
        throw Error(ErrorCode::Refused, options_.result, "the file exists");
    }

private:
    void Append(std::span<const std::byte> bytes) {
        bytes_ += bytes.size();
        if (!options_.dryRun && file_.Write(bytes) != bytes.size()) Fail("cannot be written");
    }

    [[noreturn]] void Fail(const std::string& what) const {
        const platform::Error error = platform::LastError();
        const bool full = error.kind == platform::ErrorKind::NoSpace;
        throw Error(full ? ErrorCode::NoSpace : ErrorCode::Refused, options_.result,
                    what + ": " + error.Message());
    }

    const WriteOptions& options_;
    platform::FolderHandle folder_;
    platform::NewFile file_;
    Sha256 digest_;
    std::uint64_t bytes_ = 0;
};

// A member ready to be coded: what it takes copies from, and which.
struct Prepared {
    struct Part {
        std::uint64_t end = 0;      // in the content
        std::uint64_t sources = 0;  // bytes of `sources` that it sees
        std::vector<delta::Segment> segments{};
    };
    std::vector<std::byte> sources;
    std::vector<std::byte> content;
    std::vector<Part> parts;
};

// Prepares members on one thread.
class Preparer {
public:
    Preparer(const Difference& difference, const OldMembers& old, const std::vector<Number>& fresh,
             const Directory& directory)
        : difference_(difference),
          old_(old),
          fresh_(fresh),
          directory_(directory),
          oldReader_(difference.old.tree.NewReader()),
          freshReader_(difference.fresh.tree.NewReader()) {}

    Prepared Prepare(std::size_t carried) {
        Prepared made;
        Append(difference_.fresh, *freshReader_, fresh_[carried], made.content);
        bool repeats = false;
        if (carried < directory_.changed.size()) {
            AppendOld(directory_.changed[carried].place, made.sources);
        } else {
            const auto& added = directory_.added[carried - directory_.changed.size()];
            repeats = added.repeats;
            for (const Source& source : added.sources) {
                if (source.kind == Source::Kind::Old) {
                    AppendOld(source.number, made.sources);
                } else {
                    Append(difference_.fresh, *freshReader_, fresh_[source.number], made.sources);
                }
            }
        }
        const std::uint64_t most = made.sources.size() + (repeats ? made.content.size() : 0);
        index_.Begin(most, *delta::OldIndex::ShapeFor(most, delta::kNoLimit));
        std::uint64_t start = 0;
        for (const std::uint64_t end : PartEnds(made.content.size(), repeats)) {
            Prepared::Part part{.end = end, .sources = made.sources.size()};
            FindSegments(View(made.sources), View(made.content).subspan(start, end - start),
                         part.segments);
            made.parts.push_back(std::move(part));
            if (repeats) {
                const auto first = made.content.begin() + static_cast<std::ptrdiff_t>(start);
                made.sources.insert(made.sources.end(), first,
                                    made.content.begin() + static_cast<std::ptrdiff_t>(end));
            }
            start = end;
        }
        return made;
    }

private:
    static void Append(const Input& side, archive::TreeReader& reader, Number number,
                       std::vector<std::byte>& bytes) {
        About(side.path, [&] {
            reader.Begin(number);
            for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
                bytes.insert(bytes.end(), piece.begin(), piece.end());
            }
        });
    }
    void AppendOld(Place place, std::vector<std::byte>& bytes) {
        Append(difference_.old, *oldReader_, static_cast<Number>(old_.numbers[place]), bytes);
    }

    void FindSegments(ByteView sources, ByteView content, std::vector<delta::Segment>& segments) {
        if (sources.empty()) {
            segments = {{.fresh = static_cast<std::uint32_t>(content.size())}};
            return;
        }
        index_.Extend(sources);
        delta::FindSegments(sources, content, index_, found_);
        // Those that were found lie in room for many more.
        segments.assign(found_.begin(), found_.end());
    }

    const Difference& difference_;
    const OldMembers& old_;
    const std::vector<Number>& fresh_;
    const Directory& directory_;
    std::unique_ptr<archive::TreeReader> oldReader_;
    std::unique_ptr<archive::TreeReader> freshReader_;
    delta::OldIndex index_;
    std::vector<delta::Segment> found_;
};

// Decodes what was coded, section after section, while the next one is made.
class Prover {
public:
    Prover(const Difference& difference, const std::vector<Number>& fresh,
           const Directory& directory, const OldMembers& old, const WriteOptions& options)
        : difference_(difference), fresh_(fresh), threads_(options.threads) {
        if (options.prove) decoder_.emplace(directory, old);
    }

    void Prove(ByteBuffer coded, std::uint64_t members) {
        Wait();
        if (!decoder_) return;
        proof_ = std::async(threads_ > 1 ? std::launch::async : std::launch::deferred,
                            [this, coded = std::move(coded), members] {
                                decoder_->Decode(
                                    coded, members,
                                    [this](std::size_t carried, ByteView, ByteView content) {
                                        Compare(carried, content);
                                    });
                            });
    }
    void Wait() {
        if (proof_.valid()) proof_.get();
    }

private:
    void Compare(std::size_t carried, ByteView content) const {
        const Number number = fresh_[carried];
        if (Sha256Of(std::as_bytes(content)) == difference_.digests.fresh[number]) return;
        throw Error(ErrorCode::Refused, difference_.fresh.path,
                    "the patch does not give it back; the memory of this machine may be faulty",
                    difference_.fresh.tree[number].name);
    }

    const Difference& difference_;
    const std::vector<Number>& fresh_;
    const unsigned threads_;
    std::optional<Decoder> decoder_;
    std::future<void> proof_;  // last, so that it has ended before the others go
};

class Writer {
public:
    Writer(Difference& difference, const std::string& manifest, const WriteOptions& options,
           const ProgressFunction& progress)
        : difference_(difference),
          manifest_(manifest),
          options_(options),
          progress_(progress),
          old_(difference.old.tree, AllOf(difference.old.tree)) {}

    std::uint64_t Run() {
        Describe();
        RefuseTooMuch();
        FindSources(difference_, old_, fresh_, directory_, options_.threads, progress_);
        CodeContents();
        Output output(options_);
        const Head head = HeadOf(manifest_);
        ByteBuffer text;
        for (const std::byte byte : head.end) text.push_back(static_cast<std::uint8_t>(byte));
        text.insert(text.end(), head.text.begin(), head.text.end());
        output.Write(FormatHeader());
        output.Write(PackSection(SectionKind::Head, text));
        output.Write(PackSection(SectionKind::Directory, FormatDirectory(directory_)));
        for (const ByteBuffer& section : sections_) output.Write(section);
        return output.Finish();
    }

private:
    static std::vector<std::size_t> AllOf(const archive::Tree& tree) {
        std::vector<std::size_t> all(tree.Count());
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
        return all;
    }

    void Describe();
    void RefuseTooMuch() const;
    void CodeContents();
    void Code(std::size_t carried, const Prepared& prepared);
    void EndSection();
    void Count(std::size_t carried, std::uint64_t bytes);

    Difference& difference_;
    const std::string& manifest_;
    const WriteOptions& options_;
    const ProgressFunction& progress_;
    const OldMembers old_;
    Directory directory_;
    std::vector<Number> fresh_;      // of the new side, by carried number
    std::vector<Carried*> carried_;  // of the difference, by carried number

    std::unique_ptr<ContentModels> models_ = std::make_unique<ContentModels>();
    GrowingEncoder encoder_;
    std::optional<Prover> prover_;
    std::uint64_t members_ = 0;  // of the section that is being made
    std::vector<ByteBuffer> sections_;
};

void Writer::Describe() {
    std::vector<Place> placeOf(old_.numbers.size());
    for (Place place = 0; place < old_.numbers.size(); ++place)
        placeOf[old_.numbers[place]] = place;
    const Input& old = difference_.old;
    const Input& fresh = difference_.fresh;
    const auto addSpot = [&](Number number) {
        directory_.spots.Add(old.tree[number].name, difference_.digests.old[number]);
    };
    const auto carry = [&](Carried& member) {
        fresh_.push_back(member.fresh);
        carried_.push_back(&member);
    };
    for (const Removed& member : difference_.removed) {
        directory_.removed.push_back(placeOf[member.old]);
        addSpot(member.old);
    }
    for (Carried& member : difference_.carried) {
        if (!member.old) continue;
        const Number number = *member.old;
        directory_.changed.push_back(
            {placeOf[number], static_cast<std::int64_t>(fresh.tree[member.fresh].size) -
                                  static_cast<std::int64_t>(old.tree[number].size)});
        addSpot(number);
        carry(member);
    }
    for (const Number number : difference_.empty) {
        directory_.empty.push_back(PatchName(fresh.tree[number].name));
    }
    for (Carried& member : difference_.carried) {
        if (member.old) continue;
        const archive::TreeMember stored = fresh.tree[member.fresh];
        const std::string name = PatchName(stored.name);
        if (member.movedFrom) {
            directory_.moved.push_back({name, placeOf[*member.movedFrom]});
            continue;
        }
        directory_.added.push_back({.name = name, .bytes = stored.size});
        carry(member);
    }
}

// Whoever applies the patch puts them all into one archive.
void Writer::RefuseTooMuch() const {
    constexpr std::uint64_t kRoomForNames = std::uint64_t{256} << 20;
    std::uint64_t bytes = 0;
    for (const Carried& member : difference_.carried) {
        bytes += difference_.fresh.tree[member.fresh].size;
    }
    if (bytes <= archive::kMaxArchiveSize - kRoomForNames) return;
    throw Error(ErrorCode::Refused, options_.result,
                "members of more than 4 GiB changed or were added; leave out --compact");
}

void Writer::CodeContents() {
    std::uint64_t total = 0;
    for (const Number number : fresh_) total += difference_.fresh.tree[number].size;
    Meter meter(progress_, "making the patch", total);
    prover_.emplace(difference_, fresh_, directory_, old_, options_);
    std::vector<Preparer> workers;
    for (unsigned i = 0; i < std::max(options_.threads, 1U); ++i) {
        workers.emplace_back(difference_, old_, fresh_, directory_);
    }
    InOrder<Prepared> work(
        fresh_.size(), options_.threads,
        [this](std::size_t unit) { return 2 * difference_.fresh.tree[fresh_[unit]].size; },
        kMostWaiting);
    work.Run(
        meter, [&](unsigned worker, std::size_t unit) { return workers[worker].Prepare(unit); },
        [&](std::size_t unit, const Prepared& prepared) {
            Code(unit, prepared);
            meter.Add(prepared.content.size());
        });
    if (members_ > 0) EndSection();
    prover_->Wait();
    meter.Report(true);
}

void Writer::Code(std::size_t carried, const Prepared& prepared) {
    const std::size_t before = encoder_.Size();
    ContentCodec<GrowingEncoder> codec(encoder_, *models_);
    std::uint64_t start = 0;
    for (const Prepared::Part& part : prepared.parts) {
        codec.Code(View(prepared.sources).first(part.sources),
                   View(prepared.content).subspan(start, part.end - start), part.segments);
        start = part.end;
    }
    ++members_;
    Count(carried, encoder_.Size() - before);
    if (encoder_.Size() >= kSectionBytes) EndSection();
}

void Writer::EndSection() {
    ByteBuffer coded = encoder_.Finish();
    sections_.push_back(FormatSection(SectionKind::Contents, true, members_, coded));
    prover_->Prove(std::move(coded), members_);
    members_ = 0;
}

void Writer::Count(std::size_t carried, std::uint64_t bytes) {
    carried_[carried]->patchBytes = bytes;
    Directory::Shares& shares = directory_.shares;
    if (carried >= directory_.changed.size()) {
        shares.added += bytes;
    } else if (bytes > difference_.fresh.tree[fresh_[carried]].size / kRewrittenShare) {
        shares.rewritten += bytes;
        ++shares.rewrittenMembers;
    } else {
        shares.changed += bytes;
    }
}

}  // namespace

std::uint64_t WriteCompact(Difference& difference, const std::string& manifest,
                           const WriteOptions& options, const ProgressFunction& progress) {
    return Writer(difference, manifest, options, progress).Run();
}

}  // namespace patch::compact
