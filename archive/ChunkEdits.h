// Single changes of an archive file, besides its new members (Appender.h). Each leaves a file that
// readers can open at any time, also if the process is killed halfway.
//
// All throw Error: CannotWrite or NoSpace for a write that fails, CannotRead and Damaged. The
// contents follow what is in the file.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "archive/Contents.h"

namespace archive {

[[nodiscard]] constexpr std::uint64_t IndexChunkSize(std::uint64_t count) {
    return kChunkHeaderSize + count * kIndexRecordSize;
}

// Writes all bytes. The error names `member`, if one is concerned.
void WriteAt(platform::FileHandle& file, std::uint64_t offset, std::span<const std::byte> bytes,
             std::string_view member = {});

// Starts an archive without members: writes the header to the start of an empty file. The index is
// stale, so that WriteIndex is still to be called.
[[nodiscard]] Contents StartArchive(platform::FileHandle& file, std::uint32_t buildVersion,
                                    std::uint32_t productCode);

// Returns the offset of the next chunk: that of the old index unless members follow it, else the
// end of the file. Without a maintained index it first makes that end one that a walk reaches, and
// clears the header's index offset. Throws Full for a file longer than 4 GiB, Damaged when the old
// members cannot be followed by a new one.
[[nodiscard]] std::uint64_t PrepareEnd(platform::FileHandle& file, Contents& contents);

// Marks a member as deleted in the file, and removes it from the contents. Throws Damaged when no
// member is at its place.
void MarkDeleted(platform::FileHandle& file, Contents& contents, MemberTable::Ordinal ordinal);

// Writes the index to `place`, and the header that names it. When it throws, the header is
// unchanged. Throws Full when the archive would pass 4 GiB.
void WriteIndex(platform::FileHandle& file, Contents& contents, std::uint64_t place);

}  // namespace archive
