#include "patch/Proof.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <deque>

#include "archive/Check.h"
#include "archive/ContentReader.h"
#include "archive/Crc32.h"
#include "archive/Window.h"
#include "patch/Error.h"
#include "patch/Runs.h"
#include "patch/Sums.h"

namespace patch {
namespace {

constexpr std::size_t kWindow = 1 << 18;

// Compares parts with their sources. One for each worker.
class PartReader {
public:
    PartReader(const archive::Reader& result, const OldSide& old, const PatchFile& patch)
        : result_(result.File(), kWindow),
          old_(old.Reader() != nullptr ? &old.Reader()->File() : &result.File()),
          oldWindow_(*old_, kWindow),
          patchWindow_(patch.Reader().File(), kWindow) {}

    // Returns whether both places have the same bytes.
    [[nodiscard]] bool IsCopy(const archive::Member& member, const archive::Member& source,
                              bool ofPatch) {
        archive::Window& window = ofPatch ? patchWindow_ : oldWindow_;
        std::uint64_t done = 0;
        while (done < member.storedSize) {
            const std::uint64_t left = member.storedSize - done;
            const auto a = result_.Some(member.dataOffset + done, left);
            const auto b = window.Some(source.dataOffset + done, left);
            const std::size_t count = std::min(a.size(), b.size());
            if (count == 0 || std::memcmp(a.data(), b.data(), count) != 0) return false;
            done += count;
        }
        return true;
    }

    [[nodiscard]] bool HasSum(const archive::Member& member, std::uint32_t expected) {
        archive::Crc32 sum;
        for (std::uint64_t done = 0; done < member.storedSize;) {
            const auto piece = result_.Some(member.dataOffset + done, member.storedSize - done);
            if (piece.empty()) return false;
            sum.Update(piece);
            done += piece.size();
        }
        return sum.Value() == expected;
    }

private:
    archive::Window result_;
    const platform::FileHandle* old_;
    archive::Window oldWindow_;
    archive::Window patchWindow_;
};

// Small members are read with their neighbours.
std::vector<ItemRun> RunsOf(const archive::Reader& result) {
    return CutRuns(result.Count(), [&](std::size_t i) { return result[i].storedSize; });
}

// Also compares the check sum. Throws archive::Error.
Sha256Digest DigestOfContent(archive::ContentReader& reader, const archive::Member& member) {
    Sha256 digest;
    reader.Begin(member);
    for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) digest.Update(piece);
    return digest.Finish();
}

}  // namespace

Sha256Digest DigestOfFile(const platform::FileHandle& file, std::uint64_t size, Meter& meter) {
    archive::Window window(file, kWindow);
    Sha256 digest;
    for (std::uint64_t done = 0; done < size;) {
        const auto piece = window.Some(done, size - done);
        if (piece.empty()) {
            throw archive::Error(archive::ErrorCode::CannotRead, "the file is shorter than it was");
        }
        digest.Update(piece);
        meter.Add(piece.size());
        done += piece.size();
    }
    return digest.Finish();
}

bool HoldsNewSide(const archive::Reader& result, const PatchFile& patch, unsigned threads,
                  const ProgressFunction& progress) {
    Meter meter(progress, "judging the result", result.All().fileSize);
    std::deque<archive::ContentReader> readers;
    for (unsigned i = 0; i < std::max(threads, 1U); ++i) {
        readers.push_back(result.NewContentReader(kWindow));
    }
    std::vector<Sum> sums(result.Count());
    try {
        ForEachItem(RunsOf(result), threads, meter, [&](unsigned worker, std::size_t i) {
            const archive::Member member = result[i];
            sums[i] = {ShownName(member.name), DigestOfContent(readers[worker], member)};
            meter.Add(member.storedSize);
        });
    } catch (const archive::Error& error) {
        // Damage settles the question. A file that cannot be read leaves it open.
        if (error.Code() == archive::ErrorCode::CannotRead) throw;
        return false;
    }
    const auto& manifest = patch.GetManifest();
    return !manifest || DigestOfSide(std::move(sums)) == manifest->fresh.sha256;
}

bool HoldsAll(const archive::Reader& result, const std::vector<Part>& parts,
              const std::vector<Written>& written, const OldSide& old, const PatchFile& patch,
              unsigned threads, const ProgressFunction& progress) {
    // Contents are proved below by their stored bytes, which costs less than expanding them.
    const archive::CheckOptions structure{.workers = threads, .content = false, .findings = 1};
    if (!archive::Check(result, structure).Whole() || result.Count() != parts.size()) return false;

    Meter meter(progress, "reading back", result.All().fileSize);
    std::deque<PartReader> readers;
    for (unsigned i = 0; i < std::max(threads, 1U); ++i) readers.emplace_back(result, old, patch);
    const auto holds = [&](PartReader& reader, std::size_t i) {
        const Part& part = parts[i];
        const archive::Member member = result[i];
        meter.Add(member.storedSize);
        if (member.name != part.name || member.storedSize != written[i].storedSize) return false;
        // Its stored bytes were summed when they were made: what can differ is what the disk has.
        if (part.store != Part::Store::Copied) return reader.HasSum(member, written[i].sum);
        const bool ofPatch = part.from == Part::From::Patch;
        const archive::Member source =
            ofPatch ? patch.Reader()[part.held] : (*old.Reader())[part.old];
        return member.crc == source.crc && member.size == source.size &&
               member.attributes == source.attributes && reader.IsCopy(member, source, ofPatch);
    };
    std::atomic<bool> all = true;
    ForEachItem(RunsOf(result), threads, meter, [&](unsigned worker, std::size_t i) {
        if (all && !holds(readers[worker], i)) all = false;
    });
    return all;
}

}  // namespace patch
