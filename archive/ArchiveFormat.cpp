#include "archive/ArchiveFormat.h"

#include <algorithm>
#include <cstring>

#include "kernel/LetterCase.h"
#include "kernel/LittleEndian.h"

namespace archive {

using Vorn::LoadU16;
using Vorn::LoadU32;
using Vorn::StoreU16;
using Vorn::StoreU32;

bool MarkEquals(std::span<const std::byte, 4> bytes, std::string_view mark) {
    return std::ranges::equal(bytes, mark, [](std::byte byte, char c) {
        return Vorn::AsciiToLower(static_cast<char>(byte)) == Vorn::AsciiToLower(c);
    });
}

bool ChunkHeader::Is(std::string_view chunk) const {
    return MarkEquals(std::as_bytes(std::span(id)), chunk);
}

ChunkHeader DecodeChunkHeader(std::span<const std::byte, kChunkHeaderSize> bytes) {
    ChunkHeader header;
    std::memcpy(header.id.data(), bytes.data(), header.id.size());
    header.length = LoadU32<4>(bytes);
    return header;
}

ArchiveHeader DecodeHeader(std::span<const std::byte, kArchiveHeaderSize> bytes) {
    return {.magic = LoadU32<0>(bytes),
            .version = LoadU32<4>(bytes),
            .memberCount = LoadU32<8>(bytes),
            .indexOffset = LoadU32<12>(bytes),
            .buildVersion = LoadU32<16>(bytes),
            .productCode = LoadU32<20>(bytes),
            .reserved1 = LoadU32<24>(bytes),
            .reserved2 = LoadU32<28>(bytes)};
}

FindEntry DecodeEntry(std::span<const std::byte, kFindEntrySize> bytes) {
    FindEntry entry;
    std::memcpy(entry.name.data(), bytes.data(), entry.name.size());
    entry.name.back() = '\0';
    entry.size = LoadU32<260>(bytes);
    entry.storedSize = LoadU32<264>(bytes);
    entry.crc = LoadU32<268>(bytes);
    entry.creationTime = LoadU32<272>(bytes);
    entry.accessTime = LoadU32<276>(bytes);
    entry.writeTime = LoadU32<280>(bytes);
    entry.attributes = LoadU16<284>(bytes);
    entry.reserved = LoadU16<286>(bytes);
    return entry;
}

IndexRecord DecodeIndexRecord(std::span<const std::byte, kIndexRecordSize> bytes) {
    return {.dataOffset = LoadU32<0>(bytes),
            .storedSize = LoadU32<4>(bytes),
            .entry = DecodeEntry(bytes.subspan<8, kFindEntrySize>())};
}

void EncodeChunkHeader(std::span<std::byte, kChunkHeaderSize> bytes, std::string_view id,
                       std::uint32_t length) {
    std::memcpy(bytes.data(), id.data(), 4);
    StoreU32<4>(bytes, length);
}

void EncodeEntry(std::span<std::byte, kFindEntrySize> bytes, const FindEntry& entry) {
    std::memcpy(bytes.data(), entry.name.data(), entry.name.size());
    StoreU32<260>(bytes, entry.size);
    StoreU32<264>(bytes, entry.storedSize);
    StoreU32<268>(bytes, entry.crc);
    StoreU32<272>(bytes, entry.creationTime);
    StoreU32<276>(bytes, entry.accessTime);
    StoreU32<280>(bytes, entry.writeTime);
    StoreU16<284>(bytes, entry.attributes);
    StoreU16<286>(bytes, entry.reserved);
}

void EncodeIndexRecord(std::span<std::byte, kIndexRecordSize> bytes, const IndexRecord& record) {
    StoreU32<0>(bytes, record.dataOffset);
    StoreU32<4>(bytes, record.storedSize);
    EncodeEntry(bytes.subspan<8, kFindEntrySize>(), record.entry);
}

std::array<std::byte, kArchivePreambleSize> EncodePreamble(const ArchiveHeader& header) {
    std::array<std::byte, kArchivePreambleSize> bytes{};
    const std::span<std::byte, kArchivePreambleSize> all(bytes);
    std::memcpy(bytes.data(), kArchiveMark.data(), kArchiveMark.size());
    EncodeChunkHeader(all.subspan<4, kChunkHeaderSize>(), kInfoChunk, kArchiveHeaderSize);
    const auto fields = all.subspan<12, kArchiveHeaderSize>();
    StoreU32<0>(fields, header.magic);
    StoreU32<4>(fields, header.version);
    StoreU32<8>(fields, header.memberCount);
    StoreU32<12>(fields, header.indexOffset);
    StoreU32<16>(fields, header.buildVersion);
    StoreU32<20>(fields, header.productCode);
    StoreU32<24>(fields, header.reserved1);
    StoreU32<28>(fields, header.reserved2);
    return bytes;
}

}  // namespace archive
