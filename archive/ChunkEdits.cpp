#include "archive/ChunkEdits.h"

#include <algorithm>
#include <array>
#include <vector>

#include "archive/Error.h"
#include "archive/Window.h"
#include "platform/Error.h"

namespace archive {

namespace {

constexpr std::size_t kRecordsAtOnce = 1024;  // 296 KB of index at a time
constexpr std::size_t kWalkWindow = 4096;     // a chunk header and the entry after it

// Otherwise a reader could load the stale index, or read a new member as index records.
void LeaveIndex(platform::FileHandle& file, Contents& contents) {
    if (contents.header.indexOffset == 0 || contents.index == IndexState::Absent) return;
    contents.header.indexOffset = 0;
    WriteAt(file, 0, EncodePreamble(contents.header));
    contents.index = IndexState::Absent;
}

// Returns the offset where a walk over the chunks ends. A chunk that it cannot pass, such as a
// member that was never finished, becomes a deleted chunk. The walk starts at the first chunk, as
// that of a later reader does: the rest of a damaged index may list members that no walk reaches.
[[nodiscard]] std::uint64_t SealEnd(platform::FileHandle& file, const Contents& contents,
                                    std::uint64_t size) {
    const std::uint64_t known = contents.members.EndOfData();
    std::uint64_t position = kFirstChunkOffset;
    Window window(file, kWalkWindow);
    while (position + kChunkHeaderSize <= size) {
        const auto bytes = window.At(position, kChunkHeaderSize);
        if (bytes.size() < kChunkHeaderSize) break;
        const ChunkHeader chunk = DecodeChunkHeader(bytes.first<kChunkHeaderSize>());
        const bool unfinished = chunk.Is(kMemberChunk) && chunk.length < kFindEntrySize;
        const std::uint64_t end = position + kChunkHeaderSize + chunk.length;
        if (unfinished || end > size) {
            // A member that is cut short, or known ones after this place, would be lost.
            if ((chunk.Is(kMemberChunk) && !unfinished) || position < known) break;
            std::array<std::byte, kChunkHeaderSize> header{};
            EncodeChunkHeader(header, kDeletedChunk,
                              static_cast<std::uint32_t>(size - position - kChunkHeaderSize));
            WriteAt(file, position, header);
            return size;
        }
        position = end;
    }
    // A rest shorter than a chunk header is overwritten by the new member.
    if (position > size || position < known || position + kChunkHeaderSize <= size) {
        throw Error(ErrorCode::Damaged, "a member is cut short, or its place cannot be reached",
                    position);
    }
    return position;
}

}  // namespace

void WriteAt(platform::FileHandle& file, std::uint64_t offset, std::span<const std::byte> bytes,
             std::string_view member) {
    if (file.WriteAt(offset, bytes) == bytes.size()) return;
    if (platform::LastError().kind == platform::ErrorKind::NoSpace) {
        throw Error(ErrorCode::NoSpace, "the disk is full", offset, member);
    }
    throw Error(ErrorCode::CannotWrite, "the archive cannot be written", offset, member);
}

Contents StartArchive(platform::FileHandle& file, std::uint32_t buildVersion,
                      std::uint32_t productCode) {
    Contents contents = NewContents(buildVersion, productCode);
    contents.indexStale = true;
    WriteAt(file, 0, EncodePreamble(contents.header));
    return contents;
}

std::uint64_t PrepareEnd(platform::FileHandle& file, Contents& contents) {
    const std::int64_t length = file.Length();
    if (length < 0) throw Error(ErrorCode::CannotRead, "its length cannot be read");
    const auto size = static_cast<std::uint64_t>(length);
    if (size > kMaxArchiveSize) throw Error(ErrorCode::Full, "the file is longer than 4 GiB");
    if (!contents.Maintained()) {
        const std::uint64_t end = SealEnd(file, contents, size);
        LeaveIndex(file, contents);
        return end;
    }
    const std::uint32_t index = contents.header.indexOffset;
    return index != 0 && contents.members.EndOfData() <= index ? index : size;
}

void MarkDeleted(platform::FileHandle& file, Contents& contents, MemberTable::Ordinal ordinal) {
    const Member member = contents.members[ordinal];
    if (!contents.Maintained()) LeaveIndex(file, contents);
    // Never let a corrupt index choose where we write.
    std::array<std::byte, 4> mark{};
    const bool read =
        member.dataOffset >= kMemberPrefixSize &&
        file.ReadAt(member.dataOffset - kMemberPrefixSize, mark) == std::int64_t{mark.size()};
    const bool gone = read && MarkEquals(mark, kDeletedChunk);
    if (!gone) {
        if (!read || !MarkEquals(mark, kMemberChunk)) {
            throw Error(ErrorCode::Damaged, "there is no member at its place", member.dataOffset,
                        member.name);
        }
        WriteAt(file, member.dataOffset - kMemberPrefixSize,
                std::as_bytes(std::span(kDeletedChunk)), member.name);
    }
    contents.members.Remove(ordinal);
    if (contents.Maintained()) contents.indexStale = true;
}

// Writes the index as a deleted chunk first: a reader that opens the archive meanwhile must not
// load half an index. Its length is right from the start, so that a walk never takes records for
// chunks. The mark is written last, after the header that names it.
void WriteIndex(platform::FileHandle& file, Contents& contents, std::uint64_t place) {
    const MemberTable& members = contents.members;
    if (place + IndexChunkSize(members.Count()) > kMaxArchiveSize) {
        throw Error(ErrorCode::Full, "the index does not fit: the archive would pass 4 GiB");
    }
    std::vector<std::byte> batch(kChunkHeaderSize);
    batch.reserve(kChunkHeaderSize + kRecordsAtOnce * kIndexRecordSize);
    EncodeChunkHeader(std::span(batch).first<kChunkHeaderSize>(), kDeletedChunk,
                      static_cast<std::uint32_t>(members.Count() * kIndexRecordSize));
    std::uint64_t offset = place;
    for (MemberTable::Ordinal ordinal = 0; ordinal < members.End(); ++ordinal) {
        if (!members.Has(ordinal)) continue;
        batch.resize(batch.size() + kIndexRecordSize);
        members.EncodeRecord(ordinal, std::span(batch).last<kIndexRecordSize>());
        if (batch.size() + kIndexRecordSize <= batch.capacity()) continue;
        WriteAt(file, offset, batch);
        offset += batch.size();
        batch.clear();
    }
    WriteAt(file, offset, batch);
    ArchiveHeader header = contents.header;
    header.memberCount = members.Count();
    header.indexOffset = static_cast<std::uint32_t>(place);
    WriteAt(file, 0, EncodePreamble(header));
    WriteAt(file, place, std::as_bytes(std::span(kIndexChunk)));
    contents.header = header;
    contents.index = IndexState::Whole;
    contents.indexEnd = place + IndexChunkSize(members.Count());
    contents.fileSize = std::max(contents.fileSize, contents.indexEnd);
    contents.indexStale = false;
}

}  // namespace archive
