#include "archive/PackedMember.h"

#include <algorithm>
#include <memory>

#include "archive/Crc32.h"
#include "archive/Stream.h"

namespace archive {
namespace {

void Append(std::vector<std::byte>& data, std::span<const std::byte> bytes) {
    data.insert(data.end(), bytes.begin(), bytes.end());
}

}  // namespace

void Pack(std::span<const std::byte> content, bool compress, PackedMember& packed) {
    Crc32 sum;
    sum.Update(content);
    packed.entry = {};
    packed.entry.size = static_cast<std::uint32_t>(content.size());
    packed.entry.crc = sum.Value();
    packed.data.clear();
    if (!compress) {
        Append(packed.data, content);
    } else {
        packed.entry.attributes = kMemberCompressed;
        const std::size_t blocks = content.size() / kBlockSize + 1;
        packed.data.reserve(kStreamHeaderSize + blocks * kBlockHeaderSize + content.size());
        Append(packed.data, EncodeStreamHeader(packed.entry.size));
        const auto block = std::make_unique_for_overwrite<BlockBuffer>();
        while (!content.empty()) {
            const auto piece = content.first(std::min(content.size(), kBlockSize));
            Append(packed.data, EncodeBlock(*block, piece));
            content = content.subspan(piece.size());
        }
    }
    packed.entry.storedSize = static_cast<std::uint32_t>(packed.data.size());
}

void AddPacked(Appender& appender, std::string_view name, const PackedMember& packed) {
    appender.BeginStored({.name = name}, packed.entry);
    appender.Write(packed.data);
    appender.Finish();
}

}  // namespace archive
