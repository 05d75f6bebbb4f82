#include "patch/Applier.h"

#include <algorithm>
#include <deque>
#include <optional>

#include "archive/Crc32.h"
#include "archive/NewArchive.h"
#include "archive/Window.h"
#include "patch/Error.h"
#include "patch/InOrder.h"
#include "patch/Proof.h"
#include "patch/Rebuilder.h"
#include "patch/Runs.h"
#include "patch/TrailingDigest.h"
#include "platform/SystemInfo.h"

namespace patch {
namespace {

using From = Part::From;
using Store = Part::Store;

constexpr std::size_t kCopyWindow = 1 << 20;
// Bytes of rebuilt members that may wait to be written.
constexpr std::uint64_t kMostWaiting = 32 << 20;

std::string FolderOf(const std::string& path) {
    const std::size_t name = path.find_last_of("/\\") + 1;
    return name == 0 ? "." : path.substr(0, name);
}

class Builder {
public:
    Builder(const OldSide& old, const PatchFile& patch, std::vector<Part> parts,
            const BuildOptions& options, const ProgressFunction& progress)
        : old_(old),
          patch_(patch),
          parts_(std::move(parts)),
          options_(options),
          progress_(progress),
          threads_(options.threads) {
        for (std::size_t i = 0; i < parts_.size(); ++i) {
            if (parts_[i].store != Store::Copied) made_.push_back(i);
        }
        if (options.memoryLimit != UINT64_MAX) LimitThreads();
    }

    // With `promised` the archive must be the one that the manifest promises, if it does.
    Built Run(bool promised) {
        Built built{.members = parts_.size()};
        CheckSpace();
        if (!options_.dryRun) {
            const Manifest::Versions versions = GetVersions();
            About(options_.result,
                  [&] { result_.emplace(options_.result, versions.build, versions.product); });
            result_->Reserve(parts_.size());
            built.abandoned = result_->Abandoned();
        }
        written_.resize(parts_.size());
        if (result_ && promised && Promise() && threads_ > 1) {
            trailing_.emplace(result_->File(), ForetoldHeader());
        }
        WriteParts();
        if (!result_) return built;
        About(options_.result, [&] {
            if (trailing_) StopTrailing();
            result_->Finish();
            built.bytes = static_cast<std::uint64_t>(result_->File().Length());
            if (promised) built.archive = Promised(built.bytes);
            if (!built.archive) Judge(promised);
            result_->Publish(options_.replace);
        });
        return built;
    }

private:
    [[nodiscard]] archive::Member SourceOf(const Part& part) const {
        return part.from == From::Patch ? patch_.Reader()[part.held] : (*old_.Reader())[part.old];
    }

    // Runs fewer members at a time where they would take more memory than is allowed.
    void LimitThreads() {
        std::uint64_t most = 1;
        for (const std::size_t i : made_) {
            most = std::max(most, MemoryToRebuild(parts_[i], old_, patch_));
        }
        if (most > options_.memoryLimit) {
            throw Error(ErrorCode::NoMemory, patch_.Path(),
                        "a member needs " + std::to_string(most) +
                            " bytes of memory; raise --memory-limit");
        }
        threads_ =
            static_cast<unsigned>(std::min<std::uint64_t>(threads_, options_.memoryLimit / most));
    }

    [[nodiscard]] Manifest::Versions GetVersions() const {
        const auto& manifest = patch_.GetManifest();
        if (manifest && manifest->versions) return *manifest->versions;
        if (!old_.Reader()) return {};
        return {old_.Reader()->Header().buildVersion, old_.Reader()->Header().productCode};
    }

    // Only bytes that are certain to be written: rebuilt members may become small.
    void CheckSpace() const {
        std::uint64_t bytes = archive::kArchivePreambleSize + archive::kChunkHeaderSize;
        for (const Part& part : parts_) {
            bytes += archive::kMemberPrefixSize + archive::kIndexRecordSize;
            if (part.store == Store::Copied) bytes += SourceOf(part).storedSize;
        }
        const auto free = platform::FreeSpace(FolderOf(options_.result).c_str());
        if (free && *free < bytes) {
            throw Error(ErrorCode::NoSpace, options_.result,
                        "it needs " + std::to_string(bytes) + " bytes, and the disk has " +
                            std::to_string(*free) + " free; make room, or name another disk");
        }
    }

    void WriteParts() {
        std::uint64_t bytes = 0;
        for (const Part& part : parts_) bytes += CostOf(part);
        Meter meter(progress_, "applying", bytes);
        std::deque<Rebuilder> rebuilders;
        for (unsigned i = 0; i < std::max(threads_, 1U); ++i) rebuilders.emplace_back(old_, patch_);
        std::size_t next = 0;
        const auto copyUpTo = [&](std::size_t end) {
            for (; next < end; ++next) Copy(next, meter);
        };
        // A small member is made faster than a thread wakes, so that several are one unit.
        const auto runs =
            CutRuns(made_.size(), [this](std::size_t i) { return CostOf(parts_[made_[i]]); });
        InOrder<std::vector<archive::PackedMember>> work(
            runs.size(), threads_, [&](std::size_t unit) { return CostOf(runs[unit]); },
            kMostWaiting);
        work.Run(
            meter,
            [&](unsigned worker, std::size_t unit) {
                std::vector<archive::PackedMember> packed;
                for (std::size_t i = runs[unit].begin; i < runs[unit].end; ++i) {
                    packed.push_back(rebuilders[worker].Make(parts_[made_[i]]));
                }
                return packed;
            },
            [&](std::size_t unit, const std::vector<archive::PackedMember>& packed) {
                for (std::size_t i = 0; i < packed.size(); ++i) {
                    const std::size_t part = made_[runs[unit].begin + i];
                    copyUpTo(part);
                    Add(next++, packed[i]);
                    meter.Add(CostOf(parts_[part]));
                }
            });
        copyUpTo(parts_.size());
        meter.Report(true);
    }

    // An estimate of a part's stored bytes.
    [[nodiscard]] std::uint64_t CostOf(const Part& part) const {
        switch (part.from) {
            case From::Nothing:
                return 0;
            case From::Patch:
                return patch_.Members()[part.held].size;
            case From::Old:
                return old_.Members()[part.old].size;
            default:
                return old_.Members()[part.old].size + patch_.Members()[part.held].size;
        }
    }

    [[nodiscard]] std::uint64_t CostOf(const ItemRun& run) const {
        std::uint64_t bytes = 0;
        for (std::size_t i = run.begin; i < run.end; ++i) bytes += CostOf(parts_[made_[i]]);
        return bytes;
    }

    void Copy(std::size_t i, Meter& meter) {
        const Part& part = parts_[i];
        meter.Add(CostOf(part));
        if (!result_) return;
        const bool ofPatch = part.from == From::Patch;
        const archive::Member source = SourceOf(part);
        std::optional<archive::Window>& window = ofPatch ? patchWindow_ : oldWindow_;
        if (!window) {
            window.emplace(ofPatch ? patch_.Reader().File() : old_.Reader()->File(), kCopyWindow);
        }
        archive::Appender& members = result_->Members();
        About(options_.result, [&] { members.BeginStored({.name = part.name}, source); });
        for (std::uint64_t done = 0; done < source.storedSize;) {
            const auto piece = About(ofPatch ? patch_.Path() : old_.Path(), [&] {
                return window->Some(source.dataOffset + done, source.storedSize - done);
            });
            if (piece.empty()) {
                throw Error(ErrorCode::Refused, ofPatch ? patch_.Path() : old_.Path(),
                            "the file changed while it was read", part.name);
            }
            About(options_.result, [&] { members.Write(piece); });
            done += piece.size();
        }
        About(options_.result, [&] { members.Finish(); });
        written_[i].storedSize = source.storedSize;
        if (trailing_) trailing_->Follow(members.Appeared());
    }

    void Add(std::size_t i, const archive::PackedMember& packed) {
        if (!result_) return;
        archive::Crc32 sum;
        sum.Update(packed.data);
        written_[i] = {static_cast<std::uint32_t>(packed.data.size()), sum.Value()};
        About(options_.result, [&] { AddPacked(result_->Members(), parts_[i].name, packed); });
    }

    // The header of the promised archive.
    [[nodiscard]] archive::ArchiveHeader ForetoldHeader() const {
        const Manifest::Versions versions = GetVersions();
        archive::ArchiveHeader header =
            archive::NewContents(versions.build, versions.product).header;
        header.memberCount = static_cast<std::uint32_t>(parts_.size());
        const std::uint64_t index =
            archive::kChunkHeaderSize + parts_.size() * archive::kIndexRecordSize;
        header.indexOffset = static_cast<std::uint32_t>(Promise()->bytes - index);
        return header;
    }

    void StopTrailing() {
        result_->Members().Flush();
        trailing_->Follow(result_->Members().Appeared());
        trailing_->Stop();
    }

    [[nodiscard]] const Manifest::File* Promise() const {
        const auto& manifest = patch_.GetManifest();
        return manifest && manifest->archive ? &*manifest->archive : nullptr;
    }

    // Returns the digest of the result if it is the promised one.
    [[nodiscard]] std::optional<Sha256Digest> Promised(std::uint64_t size) {
        const Manifest::File* const promise = Promise();
        if (!promise || promise->bytes != size) return {};
        Meter meter(progress_, "reading back", size);
        const std::optional<Sha256Digest> digest = trailing_
                                                       ? trailing_->Finish(result_->File(), size)
                                                       : DigestOfFile(result_->File(), size, meter);
        meter.Report(true);
        return digest == promise->sha256 ? digest : std::nullopt;
    }

    // Judges a result by its members: it is not the promised archive, or none is promised.
    void Judge(bool promised) {
        const archive::Reader& reader = result_->Complete();
        if (promised && options_.trusted) {
            JudgeContents(reader);
        } else if (promised && Promise() && options_.confirm) {
            options_.confirm();
        }
        Prove(reader);
    }

    // The content that an old side without a judgement has given.
    void JudgeContents(const archive::Reader& reader) const {
        if (HoldsNewSide(reader, patch_, threads_, progress_)) return;
        throw Error(ErrorCode::Refused, old_.Path(),
                    "the result would not be the maker's; leave out --trust to learn why");
    }

    void Prove(const archive::Reader& reader) const {
        if (HoldsAll(reader, parts_, written_, old_, patch_, threads_, progress_)) return;
        throw Error(ErrorCode::Refused, options_.result,
                    "what was written does not read back as it was; nothing was kept; test the "
                    "disk, then try again");
    }

    const OldSide& old_;
    const PatchFile& patch_;
    const std::vector<Part> parts_;
    const BuildOptions& options_;
    const ProgressFunction& progress_;
    unsigned threads_;
    std::vector<std::size_t> made_;  // parts that are not copied
    std::vector<Written> written_;
    std::optional<archive::NewArchive> result_;
    std::optional<TrailingDigest> trailing_;
    std::optional<archive::Window> oldWindow_;
    std::optional<archive::Window> patchWindow_;
};

}  // namespace

Built BuildResult(const OldSide& old, const PatchFile& patch, const BuildOptions& options,
                  const ProgressFunction& progress) {
    return Builder(old, patch, PlanResult(old, patch), options, progress).Run(true);
}

Built BuildCopy(const OldSide& side, const PatchFile& patch, const BuildOptions& options,
                const ProgressFunction& progress) {
    return Builder(side, patch, PlanCopy(side), options, progress).Run(false);
}

}  // namespace patch
