#include "patch/Contents.h"

#include <algorithm>

namespace patch {

std::vector<std::unique_ptr<archive::TreeReader>> NewReaders(const archive::Tree& tree,
                                                             unsigned threads) {
    std::vector<std::unique_ptr<archive::TreeReader>> readers(std::max(threads, 1U));
    for (auto& reader : readers) reader = tree.NewReader();
    return readers;
}

std::vector<std::byte> ReadContent(archive::TreeReader& reader, const archive::Tree& tree,
                                   std::size_t member) {
    // What a small stream claims is not believed before its content is there.
    constexpr std::uint64_t kBelievedRatio = 16;
    const archive::TreeMember claimed = tree[member];
    std::vector<std::byte> content;
    content.reserve(std::min(claimed.size, claimed.storedSize * kBelievedRatio));
    reader.Begin(member);
    for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
        content.insert(content.end(), piece.begin(), piece.end());
    }
    return content;
}

Digest DigestContent(archive::TreeReader& reader, std::size_t member, DigestKind kind,
                     Meter& meter) {
    Digester digester(kind);
    reader.Begin(member);
    for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
        digester.Update(piece);
        meter.Add(piece.size());
    }
    return digester.Finish();
}

void ReadThrough(archive::TreeReader& reader, std::size_t member, Meter& meter) {
    reader.Begin(member);
    for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) meter.Add(piece.size());
}

}  // namespace patch
