#include "archive/PackedMember.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "archive/Crc32.h"
#include "archive/Stream.h"
#include "archive/StreamCursor.h"

namespace archive {
namespace {

void Append(std::vector<std::byte>& data, std::span<const std::byte> bytes) {
    data.insert(data.end(), bytes.begin(), bytes.end());
}

bool SameBytes(std::span<const std::byte> a, std::span<const std::byte> b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

}  // namespace

void EncodeStream(std::span<const std::byte> content,
                  const std::function<bool(std::span<const std::byte>)>& take) {
    if (!take(EncodeStreamHeader(static_cast<std::uint32_t>(content.size())))) return;
    const auto block = std::make_unique_for_overwrite<BlockBuffer>();
    while (!content.empty()) {
        const auto piece = content.first(std::min(content.size(), kBlockSize));
        if (!take(EncodeBlock(*block, piece))) return;
        content = content.subspan(piece.size());
    }
}

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
        // The most that a stream can take, so that appending never moves what is there.
        const std::size_t blocks = content.size() / kBlockSize + 1;
        packed.data.reserve(kStreamHeaderSize + blocks * kBlockHeaderSize + content.size());
        EncodeStream(content, [&](std::span<const std::byte> piece) {
            Append(packed.data, piece);
            return true;
        });
    }
    packed.entry.storedSize = static_cast<std::uint32_t>(packed.data.size());
}

bool GivesBack(const PackedMember& packed, std::span<const std::byte> content) {
    if (packed.entry.size != content.size()) return false;
    if ((packed.entry.attributes & kMemberCompressed) == 0) return SameBytes(packed.data, content);
    const std::span<const std::byte> data = packed.data;
    const auto header = EncodeStreamHeader(packed.entry.size);
    if (data.size() < header.size() || !SameBytes(data.first(header.size()), header)) return false;
    const auto readAt = [data](std::uint64_t offset, std::span<std::byte> into) {
        const auto bytes = data.subspan(static_cast<std::size_t>(offset));
        const std::size_t count = std::min(bytes.size(), into.size());
        std::ranges::copy(bytes.first(count), into.begin());
        return static_cast<std::int64_t>(count);
    };
    Window window(readAt, sizeof(BlockBuffer));
    StreamCursor blocks(header.size(), data.size());
    const auto room = std::make_unique_for_overwrite<std::array<std::byte, kBlockSize>>();
    while (!content.empty()) {
        const auto piece = blocks.Next(window, content.size(), *room);
        if (piece.empty() || !SameBytes(piece, content.first(piece.size()))) return false;
        content = content.subspan(piece.size());
    }
    return blocks.Offset() == data.size();
}

void AddPacked(Appender& appender, std::string_view name, const PackedMember& packed) {
    appender.BeginStored({.name = name}, packed.entry);
    appender.Write(packed.data);
    appender.Finish();
}

}  // namespace archive
