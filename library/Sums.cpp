#include "vaconverter/sums.h"

#include <algorithm>

#include "library/SideReader.h"
#include "library/Workers.h"
#include "patch/Sums.h"

namespace va {

std::vector<Sha256> Digests(const Archive& archive, unsigned threads,
                            const ProgressFunction& progress) {
    const std::span<const Member> members = archive.Members();
    std::vector<Sha256> digests(members.size());
    std::vector<SideReader> readers;
    for (unsigned i = 0; i < std::max(threads, 1U); ++i) readers.emplace_back(archive);
    WorkProgress work(progress, "digesting", archive.Info().contentSize);
    const auto runs = CutRuns(members.size(), [&](std::size_t i) { return members[i].Size(); });
    RunPieces(runs.size(), threads, work, [&](unsigned worker, std::size_t run) {
        SideReader& reader = readers[worker];
        patch::Sha256 digest;
        for (std::size_t i = runs[run].begin; i < runs[run].end; ++i) {
            reader.Begin(members[i]);
            for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
                digest.Update(piece);
                work.Add(piece.size());
            }
            digests[i] = digest.Finish();
        }
    });
    return digests;
}

std::string HexOf(std::span<const std::byte> bytes) { return patch::ToHex(bytes); }

std::string SumLine(std::string_view name, const Sha256& digest) {
    return patch::FormatSum({std::string(name), digest});
}

Sha256 ContentDigest(const Archive& archive, std::span<const Sha256> digests) {
    std::vector<patch::Sum> sums;
    sums.reserve(digests.size());
    for (const Member& member : archive.Members()) {
        sums.push_back({member.Name(), digests[member.Index()]});
    }
    return patch::DigestOfSide(std::move(sums));
}

}  // namespace va
