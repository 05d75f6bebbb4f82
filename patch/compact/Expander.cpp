#include "patch/compact/Expander.h"

#include <random>

#include "archive/Appender.h"
#include "archive/ChunkEdits.h"
#include "archive/PackedMember.h"
#include "archive/Stream.h"
#include "delta/DiffFormat.h"
#include "patch/Contents.h"
#include "patch/Difference.h"
#include "patch/Error.h"
#include "patch/Lists.h"
#include "patch/compact/Decoder.h"
#include "platform/Error.h"

namespace patch::compact {
namespace {

// Lists of a patch with a manifest are read for their names alone.
constexpr const char* kNoDigest = "-";

// An archive without a name, to be read by this process alone.
class WorkingPatch {
public:
    explicit WorkingPatch(const std::string& folder) : folder_(folder) {
        constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
        std::string path = (folder_.empty() ? "." : folder_) + "/.va-expanding-";
        std::random_device random;
        for (int i = 0; i < 8; ++i) path += kLetters[random() % kLetters.size()];
        if (!file_.OpenTemporary(path.c_str())) {
            const platform::Error error = platform::LastError();
            throw Error(error.kind == platform::ErrorKind::NoSpace ? ErrorCode::NoSpace
                                                                   : ErrorCode::Refused,
                        folder_, "cannot create a working file: " + error.Message());
        }
        contents_ = About(folder_, [&] { return archive::StartArchive(file_, 0, 0); });
        members_.emplace(file_, contents_, archive::Appender::Publish::InBatches);
    }

    void Store(std::string_view name, std::span<const std::byte> content) {
        About(folder_, [&] {
            // Content that begins like a compressed stream would be read back as one.
            archive::Pack(content, archive::IsStreamMark(content), packed_);
            archive::AddPacked(*members_, name, packed_);
        });
    }

    void StoreText(std::string_view name, std::string_view text) {
        Store(name, std::as_bytes(std::span(text)));
    }

    std::unique_ptr<archive::Reader> Finish() {
        return About(folder_, [&] {
            members_->Complete();
            members_.reset();
            return std::make_unique<archive::Reader>(std::move(file_));
        });
    }

private:
    const std::string folder_;
    platform::FileHandle file_;
    archive::Contents contents_;
    std::optional<archive::Appender> members_;
    archive::PackedMember packed_;
};

class Expander {
public:
    Expander(const CompactFile& patch, const OldSide& old, const std::string& folder, bool judged,
             std::uint64_t memoryLimit, const ProgressFunction& progress)
        : patch_(patch),
          oldSide_(old),
          judged_(judged),
          memoryLimit_(memoryLimit),
          progress_(progress),
          old_(old.Members(), old.Reachable()),
          oldReader_(old.Members().NewReader()),
          manifest_(patch.Facts()),
          working_(folder) {}

    std::unique_ptr<archive::Reader> Run() {
        if (old_.numbers.size() != manifest_.old.members) RefuseOld();
        try {
            TakeContents();
        } catch (const delta::Error& error) {
            RefuseUnjudged();
            patch_.FailDamaged(error.what());
        }
        TakeMoved();
        TakeRemoved();
        manifest_.empty = patch_.Members().empty;
        StoreTexts();
        return working_.Finish();
    }

private:
    [[noreturn]] void RefuseOld() const {
        throw Error(ErrorCode::Refused, oldSide_.Path(),
                    "is not the archive that this patch is for");
    }

    // The patch is whole, so the likely cause is the old side, which was not checked.
    void RefuseUnjudged() const {
        if (judged_) return;
        throw Error(ErrorCode::Refused, oldSide_.Path(),
                    "the result would not be the maker's; leave out --trust to learn why");
    }

    void TakeContents() {
        const Directory& directory = patch_.Members();
        Decoder decoder(directory, old_);
        if (decoder.Memory() > memoryLimit_) {
            throw Error(ErrorCode::NoMemory, patch_.Path(),
                        "a member needs " + std::to_string(decoder.Memory()) +
                            " bytes of memory; raise --memory-limit");
        }
        std::uint64_t total = 0;
        for (std::size_t i = 0; i < directory.Carried(); ++i) {
            total += ContentBytes(directory, old_, i);
        }
        Meter meter(progress_, "expanding the patch", total);
        const auto take = [&](std::size_t carried, ByteView old, ByteView content) {
            if (carried < directory.changed.size()) {
                TakeChanged(directory.changed[carried].place, old, content);
            } else {
                const auto& added = directory.added[carried - directory.changed.size()];
                TakeAdded(added.name, std::as_bytes(content));
            }
            meter.Add(content.size());
        };
        for (const Section& section : patch_.Contents()) {
            About(oldSide_.Path(),
                  [&] { decoder.Decode(patch_.Read(section), section.count, take); });
        }
        meter.Report(true);
    }

    void TakeChanged(Place place, ByteView old, ByteView content) {
        const std::string name = PatchName(old_[place].name);
        manifest_.changed.push_back({name, old.size(), Sha256Of(std::as_bytes(old)), content.size(),
                                     Sha256Of(std::as_bytes(content))});
        delta::ByteBuffer diff = delta::MakeHead(delta::Method::Stored, old, content, content);
        diff.insert(diff.end(), content.begin(), content.end());
        working_.Store(name, std::as_bytes(std::span(diff)));
    }

    void TakeAdded(const std::string& name, std::span<const std::byte> content) {
        manifest_.added.push_back({name, content.size(), Sha256Of(content)});
        working_.Store(name, content);
    }

    void TakeMoved() {
        for (const Directory::Moved& moved : patch_.Members().moved) {
            const std::vector<std::byte> content = About(oldSide_.Path(), [&] {
                return ReadContent(*oldReader_, old_.tree, old_.numbers[moved.from]);
            });
            manifest_.moved.push_back(
                {moved.name, PatchName(old_[moved.from].name), content.size(), Sha256Of(content)});
            working_.Store(moved.name, content);
        }
    }

    void TakeRemoved() {
        for (const Place place : patch_.Members().removed) {
            const Sha256Digest digest = About(oldSide_.Path(), [&] {
                Sha256 sum;
                oldReader_->Begin(old_.numbers[place]);
                for (auto piece = oldReader_->Next(); !piece.empty(); piece = oldReader_->Next()) {
                    sum.Update(piece);
                }
                return sum.Finish();
            });
            manifest_.removed.push_back({PatchName(old_[place].name), old_[place].size, digest});
        }
    }

    void StoreTexts() {
        List added;
        List deleted;
        List patched;
        for (const auto& member : manifest_.added) added[member.name] = kNoDigest;
        for (const auto& member : manifest_.moved) added[member.name] = kNoDigest;
        for (const auto& member : manifest_.removed) deleted[member.name] = kNoDigest;
        for (const auto& member : manifest_.changed) {
            patched[member.name] = std::string(kNoDigest) + '\n' + kNoDigest;
        }
        working_.StoreText(kAddedList, FormatList(added));
        working_.StoreText(kDeletedList, FormatList(deleted));
        working_.StoreText(kPatchedList, FormatList(patched));
        std::string text;
        try {
            text = FormatManifest(manifest_);
        } catch (const ManifestError& error) {
            RefuseUnjudged();
            patch_.FailDamaged(error.what());
        }
        // All digests of the sides and of the members go into this one.
        if (HeadOf(text).end != patch_.ManifestEnd()) {
            RefuseUnjudged();
            throw Error(ErrorCode::Refused, patch_.Path(),
                        "does not give what its maker proved; the old side is not the one that it "
                        "was made from, or the memory of this machine is faulty");
        }
        working_.StoreText(kManifestName, text);
    }

    const CompactFile& patch_;
    const OldSide& oldSide_;
    const bool judged_;
    const std::uint64_t memoryLimit_;
    const ProgressFunction& progress_;
    const OldMembers old_;
    std::unique_ptr<archive::TreeReader> oldReader_;
    Manifest manifest_;
    WorkingPatch working_;
};

}  // namespace

std::unique_ptr<archive::Reader> ExpandForUse(const CompactFile& patch, const OldSide& old,
                                              const std::string& folder, bool judged,
                                              std::uint64_t memoryLimit,
                                              const ProgressFunction& progress) {
    return Expander(patch, old, folder, judged, memoryLimit, progress).Run();
}

std::unique_ptr<archive::Reader> NothingForUse(const std::string& folder) {
    WorkingPatch working(folder);
    for (const char* list : {kAddedList, kDeletedList, kPatchedList}) working.StoreText(list, "");
    return working.Finish();
}

}  // namespace patch::compact
