#include "patch/compact/Writer.h"

#include <algorithm>
#include <future>
#include <memory>
#include <optional>

#include "archive/Names.h"
#include "patch/InOrder.h"
#include "patch/compact/Budget.h"
#include "patch/compact/CompactFile.h"
#include "patch/compact/Decoder.h"
#include "patch/compact/GrowingEncoder.h"
#include "patch/compact/Output.h"
#include "patch/compact/Preparer.h"
#include "patch/compact/References.h"

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
    // Returns how much memory a proof takes.
    [[nodiscard]] std::uint64_t Memory() const { return decoder_ ? decoder_->Memory() : 0; }

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
        // Before the work, so that a folder that takes no file is known early.
        output_.emplace(options_);
        std::uint64_t largest = 0;
        for (std::size_t i = 0; i < fresh_.size(); ++i) {
            largest = std::max(largest, Budget::Least(SourceBytes(directory_, old_, i),
                                                      ContentBytes(directory_, old_, i)));
        }
        const Budget budget(options_.memory, largest);
        FindSources(difference_, old_, fresh_, budget, directory_, options_.threads, progress_);
        const Head head = HeadOf(manifest_);
        ByteBuffer text;
        for (const std::byte byte : head.end) text.push_back(static_cast<std::uint8_t>(byte));
        text.insert(text.end(), head.text.begin(), head.text.end());
        output_->Write(FormatHeader());
        output_->Write(PackSection(SectionKind::Head, text));
        output_->Write(PackSection(SectionKind::Directory, FormatDirectory(directory_)));
        CodeContents(budget);
        const ByteBuffer shares = FormatShares(shares_);
        output_->Write(FormatSection(SectionKind::Shares, false, shares.size(), shares));
        return output_->Finish();
    }

private:
    static std::vector<std::size_t> AllOf(const archive::Tree& tree) {
        std::vector<std::size_t> all(tree.Count());
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
        return all;
    }

    void Describe();
    void RefuseTooMuch() const;
    void CodeContents(const Budget& budget);
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
    Shares shares_;
    std::optional<Output> output_;
};

void Writer::Describe() {
    std::vector<Place> placeOf(old_.numbers.size());
    for (Place place = 0; place < old_.numbers.size(); ++place) {
        placeOf[old_.numbers[place]] = place;
    }
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

void Writer::CodeContents(const Budget& budget) {
    std::uint64_t total = 0;
    std::uint64_t largest = 0;
    const auto memoryOf = [&](std::size_t unit) {
        return SourceBytes(directory_, old_, unit) + 3 * ContentBytes(directory_, old_, unit);
    };
    for (std::size_t i = 0; i < fresh_.size(); ++i) {
        total += ContentBytes(directory_, old_, i);
        largest = std::max(largest, memoryOf(i));
    }
    Meter meter(progress_, "making the patch", total);
    prover_.emplace(difference_, fresh_, directory_, old_, options_);
    const unsigned threads = budget.Workers(options_.threads, largest, prover_->Memory());
    std::vector<Preparer> workers;
    for (unsigned i = 0; i < threads; ++i) {
        workers.emplace_back(difference_, old_, fresh_, directory_, budget);
    }
    // The member that is to be coded next may always be started, so that it counts as one more.
    const std::uint64_t waiting =
        budget.IsLimited() ? std::min(kMostWaiting, (threads - 1) * largest) : kMostWaiting;
    InOrder<Prepared> work(fresh_.size(), threads, memoryOf, waiting);
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
    output_->Write(FormatSection(SectionKind::Contents, true, members_, coded));
    prover_->Prove(std::move(coded), members_);
    members_ = 0;
}

void Writer::Count(std::size_t carried, std::uint64_t bytes) {
    carried_[carried]->patchBytes = bytes;
    if (carried >= directory_.changed.size()) {
        shares_.added += bytes;
    } else if (bytes > difference_.fresh.tree[fresh_[carried]].size / kRewrittenShare) {
        shares_.rewritten += bytes;
        ++shares_.rewrittenMembers;
    } else {
        shares_.changed += bytes;
    }
}

}  // namespace

std::uint64_t LeastMemoryToWrite(std::uint64_t oldBytes, std::uint64_t newBytes) {
    return Budget::Least(oldBytes, newBytes);
}

std::uint64_t WriteCompact(Difference& difference, const std::string& manifest,
                           const WriteOptions& options, const ProgressFunction& progress) {
    return Writer(difference, manifest, options, progress).Run();
}

}  // namespace patch::compact
