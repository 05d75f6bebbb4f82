// The records of an archive file, as bytes and as structures (layout: docs/formats/archive.md).
//
// Integers are little-endian. Nothing here touches a file; offsets and counts that a decoder gives
// back are claims that the caller checks against the file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "kernel/PathBuffer.h"

namespace archive {

inline constexpr std::size_t kChunkHeaderSize = 8;
inline constexpr std::size_t kArchiveHeaderSize = 32;
inline constexpr std::size_t kFindEntrySize = 288;
inline constexpr std::size_t kIndexRecordSize = 8 + kFindEntrySize;
inline constexpr std::size_t kMemberPrefixSize = kChunkHeaderSize + kFindEntrySize;
inline constexpr std::size_t kArchivePreambleSize = 4 + kChunkHeaderSize + kArchiveHeaderSize;
// First byte after "ARCH": where a walk over the chunks begins.
inline constexpr std::uint32_t kFirstChunkOffset = 4;

// No offset and no size in an archive passes this; a write that would is refused.
inline constexpr std::uint64_t kMaxArchiveSize = 0xFFFFFFFF;

inline constexpr std::uint32_t kArchiveMagic = 0x41524330;
inline constexpr std::uint32_t kArchiveVersion101 = 0x101;
inline constexpr std::uint32_t kArchiveVersion102 = 0x102;

inline constexpr std::string_view kArchiveMark = "ARCH";
inline constexpr std::string_view kInfoChunk = "INFO";
inline constexpr std::string_view kMemberChunk = "FIL ";
inline constexpr std::string_view kDeletedChunk = "FIL!";
inline constexpr std::string_view kIndexChunk = "IDX ";

// The attribute bit of members that are compressed streams.
inline constexpr std::uint16_t kMemberCompressed = 0x80;

// A member as an archive stores it, and a file or a folder as a search shows it. The attributes of
// files and folders are the platform's.
struct FindEntry {
    std::array<char, Vorn::kMaxPath> name{};  // NUL-terminated, ANSI code page
    std::uint32_t size = 0;                   // content, bytes
    std::uint32_t storedSize = 0;             // in the archive, bytes, stream header included
    std::uint32_t crc = 0;           // of the content (Crc32.h); 0 for files of the file system
    std::uint32_t creationTime = 0;  // seconds since 1970-01-01 UTC, as the other two
    std::uint32_t accessTime = 0;
    std::uint32_t writeTime = 0;
    std::uint16_t attributes = 0;
    std::uint16_t reserved = 0;

    [[nodiscard]] std::string_view Name() const { return {name.data()}; }
};
static_assert(sizeof(FindEntry) == kFindEntrySize && offsetof(FindEntry, size) == 260 &&
              offsetof(FindEntry, attributes) == 284);

struct ArchiveHeader {
    std::uint32_t magic = 0;
    std::uint32_t version = 0;
    std::uint32_t memberCount = 0;
    std::uint32_t indexOffset = 0;  // 0: no index
    std::uint32_t buildVersion = 0;
    std::uint32_t productCode = 0;
    std::uint32_t reserved1 = 0;
    std::uint32_t reserved2 = 0;

    [[nodiscard]] bool IsValid() const {
        return magic == kArchiveMagic &&
               (version == kArchiveVersion101 || version == kArchiveVersion102);
    }
};

struct ChunkHeader {
    std::array<char, 4> id{};
    std::uint32_t length = 0;  // bytes after this header

    [[nodiscard]] bool Is(std::string_view chunk) const;  // any letter case
};

struct IndexRecord {
    std::uint32_t dataOffset = 0;  // first byte after the member's entry
    std::uint32_t storedSize = 0;
    FindEntry entry;
};

// Returns whether four bytes equal `mark` in any letter case.
[[nodiscard]] bool MarkEquals(std::span<const std::byte, 4> bytes, std::string_view mark);

[[nodiscard]] ChunkHeader DecodeChunkHeader(std::span<const std::byte, kChunkHeaderSize> bytes);
[[nodiscard]] ArchiveHeader DecodeHeader(std::span<const std::byte, kArchiveHeaderSize> bytes);
// The name's last byte is forced to NUL, so that the text ends whatever the file holds.
[[nodiscard]] FindEntry DecodeEntry(std::span<const std::byte, kFindEntrySize> bytes);
[[nodiscard]] IndexRecord DecodeIndexRecord(std::span<const std::byte, kIndexRecordSize> bytes);

void EncodeChunkHeader(std::span<std::byte, kChunkHeaderSize> bytes, std::string_view id,
                       std::uint32_t length);
void EncodeEntry(std::span<std::byte, kFindEntrySize> bytes, const FindEntry& entry);
void EncodeIndexRecord(std::span<std::byte, kIndexRecordSize> bytes, const IndexRecord& record);

// "ARCH" and the whole "INFO" chunk: the first 44 bytes of an archive.
[[nodiscard]] std::array<std::byte, kArchivePreambleSize> EncodePreamble(
    const ArchiveHeader& header);

}  // namespace archive
