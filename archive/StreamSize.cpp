#include "archive/StreamSize.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "archive/Stream.h"

namespace archive {

bool IsWorthAStream(const Tree& tree, std::size_t number) {
    const auto reader = tree.NewReader();
    const auto block = std::make_unique_for_overwrite<BlockBuffer>();
    std::uint64_t content = 0;
    std::uint64_t stream = kStreamHeaderSize;
    std::vector<std::byte> piece;  // up to a block: the reader's pieces have any length
    piece.reserve(kBlockSize);
    const auto pack = [&] {
        content += piece.size();
        stream += EncodeBlock(*block, piece).size();
        piece.clear();
    };
    bool marked = false;
    reader->Begin(number);
    for (auto read = reader->Next(); !read.empty(); read = reader->Next()) {
        while (!read.empty()) {
            const std::size_t taken = std::min(read.size(), kBlockSize - piece.size());
            piece.insert(piece.end(), read.begin(),
                         read.begin() + static_cast<std::ptrdiff_t>(taken));
            read = read.subspan(taken);
            if (piece.size() < kBlockSize) continue;
            marked = marked || (content == 0 && IsStreamMark(piece));
            pack();
        }
    }
    marked = marked || (content == 0 && IsStreamMark(piece));
    if (!piece.empty()) pack();
    return content > 0 && (marked || SavesEnough(content, stream));
}

}  // namespace archive
