#include "archive/Contents.h"

#include <algorithm>
#include <array>
#include <memory>

#include "archive/Cursor.h"
#include "archive/Error.h"
#include "archive/Window.h"

namespace archive {

namespace {

constexpr std::size_t kHeaderWindow = 4096;
constexpr std::size_t kRecordsAtOnce = 1024;  // 296 KB of index at a time

[[nodiscard]] Error NoArchive(const char* reason, std::uint64_t offset) {
    return {ErrorCode::NotAnArchive, reason, offset};
}

// The header is looked for in units of eight bytes after the mark.
void ReadHeader(const platform::FileHandle& file, Contents& contents) {
    Window window(file, kHeaderWindow);
    const auto mark = window.At(0, kArchiveMark.size(), kArchivePreambleSize);
    if (mark.size() < 4 || !MarkEquals(mark.first<4>(), kArchiveMark)) {
        throw NoArchive("it does not begin with \"ARCH\"", 0);
    }
    std::uint64_t offset = kFirstChunkOffset;
    ChunkHeader info;
    do {
        const auto unit = window.At(offset, kChunkHeaderSize);
        if (unit.size() < kChunkHeaderSize) throw NoArchive("it has no header", 0);
        info = DecodeChunkHeader(unit.first<kChunkHeaderSize>());
        offset += kChunkHeaderSize;
    } while (!info.Is(kInfoChunk));

    std::array<std::byte, kArchiveHeaderSize> fields{};
    // A shorter header leaves the later fields as the caller's base has them.
    const auto preamble = EncodePreamble(contents.header);
    std::ranges::copy(std::span(preamble).last<kArchiveHeaderSize>(), fields.begin());
    const std::size_t held = std::min<std::size_t>(info.length, fields.size());
    const auto bytes = window.At(offset, held);
    if (bytes.size() < held) throw NoArchive("its header is cut short", offset);
    std::ranges::copy(bytes, fields.begin());
    contents.header = DecodeHeader(fields);
    contents.headerEnd = offset + info.length;
    contents.headerInPlace = contents.headerEnd == kArchivePreambleSize;
    if (!contents.header.IsValid()) {
        throw NoArchive("its header has another magic or format version", offset);
    }
}

// Reads the records that the file holds of those that the header promises. `offset` is not past the
// end of the file.
void ReadRecords(const platform::FileHandle& file, Contents& contents, std::uint64_t offset) {
    const std::uint64_t held = (contents.fileSize - offset) / kIndexRecordSize;
    auto left =
        static_cast<std::size_t>(std::min<std::uint64_t>(held, contents.header.memberCount));
    contents.members.Reserve(left);
    const auto buffer = std::make_unique_for_overwrite<std::byte[]>(std::min(left, kRecordsAtOnce) *
                                                                    kIndexRecordSize);
    while (left > 0) {
        const std::size_t count = std::min(left, kRecordsAtOnce);
        const std::span bytes(buffer.get(), count * kIndexRecordSize);
        const std::int64_t got = file.ReadAt(offset, bytes);
        // An unreadable record counts as cut off: a walk may still find its member.
        if (got != static_cast<std::int64_t>(bytes.size())) return;
        contents.members.AddRecords(bytes);
        offset += bytes.size();
        left -= count;
    }
}

void ReadIndex(const platform::FileHandle& file, Contents& contents) {
    const std::uint64_t promised = contents.header.indexOffset;
    if (promised == 0) return;
    contents.index = IndexState::Missing;
    std::array<std::byte, kChunkHeaderSize> bytes{};
    const std::uint64_t first = promised + kChunkHeaderSize;
    // Another process may have appended to the file since its size was taken.
    if (first > contents.fileSize) return;
    const std::int64_t got = file.ReadAt(promised, bytes);
    const ChunkHeader chunk = DecodeChunkHeader(bytes);
    if (got != static_cast<std::int64_t>(bytes.size()) || !chunk.Is(kIndexChunk)) return;

    const std::uint64_t records = std::uint64_t{contents.header.memberCount} * kIndexRecordSize;
    ReadRecords(file, contents, first);
    // The chunk's own length may lie: the header's count decides which bytes are records.
    contents.indexEnd = std::min(first + records, contents.fileSize);
    const bool whole = contents.members.Count() == contents.header.memberCount;
    contents.index = !whole                    ? IndexState::CutShort
                     : chunk.length == records ? IndexState::Whole
                                               : IndexState::OddLength;
}

Contents ReadOnce(const platform::FileHandle& file, const ArchiveHeader& base) {
    Contents contents;
    contents.header = base;
    contents.footprint = TakeFootprint(file);
    if (contents.footprint.length < 0) {
        throw Error(ErrorCode::CannotRead, "its length cannot be read");
    }
    ReadHeader(file, contents);
    // Taken after the header: a change in place writes all that a header names before it writes the
    // header, so that this length covers it.
    const std::int64_t length = file.Length();
    if (length < 0) throw Error(ErrorCode::CannotRead, "its length cannot be read");
    contents.fileSize = static_cast<std::uint64_t>(length);
    ReadIndex(file, contents);
    return contents;
}

}  // namespace

Footprint TakeFootprint(const platform::FileHandle& file) {
    Footprint footprint;
    footprint.length = file.Length();
    if (file.ReadAt(0, footprint.header) != std::int64_t{kArchivePreambleSize}) return footprint;
    const auto fields = std::span(footprint.header).last<kArchiveHeaderSize>();
    const std::uint32_t indexOffset = DecodeHeader(fields).indexOffset;
    if (indexOffset != 0) (void)file.ReadAt(indexOffset, footprint.index);
    return footprint;
}

Contents ReadContents(const platform::FileHandle& file, const ArchiveHeader& base) {
    constexpr int kTries = 10;
    for (int tries = 1;; ++tries) {
        Contents contents = ReadOnce(file, base);
        if (contents.index == IndexState::Absent || StillNamesIndex(file, contents)) {
            return contents;
        }
        if (tries < kTries) continue;
        // A writer keeps coming between, and may have put other bytes where the records were.
        contents.members = MemberTable();
        contents.index = IndexState::Missing;
        contents.indexEnd = 0;
        return contents;
    }
}

bool StillNamesIndex(const platform::FileHandle& file, const Contents& contents) {
    const Footprint now = TakeFootprint(file);
    return now.header == contents.footprint.header && now.index == contents.footprint.index;
}

Contents NewContents(std::uint32_t buildVersion, std::uint32_t productCode) {
    Contents contents;
    contents.header = {.magic = kArchiveMagic,
                       .version = kArchiveVersion102,
                       .buildVersion = buildVersion,
                       .productCode = productCode};
    contents.headerInPlace = true;
    contents.headerEnd = contents.fileSize = kArchivePreambleSize;
    contents.index = IndexState::Whole;
    return contents;
}

void WalkRest(const platform::FileHandle& file, Contents& contents) {
    MemberTable& members = contents.members;
    Cursor cursor(file, std::max<std::uint64_t>(members.EndOfData(), kFirstChunkOffset));
    while (const auto chunk = cursor.NextMember()) {
        if (chunk->offset >= contents.fileSize) return;
        members.Add(static_cast<std::uint32_t>(chunk->DataOffset()), chunk->StoredSize(),
                    chunk->entry);
    }
}

}  // namespace archive
