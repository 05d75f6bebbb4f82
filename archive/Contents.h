// What an archive file holds: its header, the state of its index, its members.
#pragma once

#include <array>
#include <cstdint>

#include "archive/MemberTable.h"
#include "platform/Files.h"

namespace archive {

enum class IndexState {
    Whole,      // every record that the header promises was read
    OddLength,  // the same, but the chunk's length is not that of its records
    Absent,     // the header promises none
    Missing,    // the header promises one, and there is none at its place
    CutShort,   // some of its records lie after the end of the file
};

// Recognises a changed archive. Every change alters one of these: the file's length, its header,
// the chunk header at the place of the index. Members marked as deleted without a new index are not
// noticed; the appender handles them.
struct Footprint {
    std::int64_t length = -1;
    std::array<std::byte, kArchivePreambleSize> header{};
    std::array<std::byte, kChunkHeaderSize> index{};
    bool operator==(const Footprint&) const = default;
};
[[nodiscard]] Footprint TakeFootprint(const platform::FileHandle& file);

struct Contents {
    ArchiveHeader header;
    std::uint64_t fileSize = 0;
    std::uint64_t headerEnd = 0;  // the offset after the "INFO" chunk
    // Whether the header lies where this system writes it, and is as long: only then may it be
    // written anew.
    bool headerInPlace = false;
    IndexState index = IndexState::Absent;
    std::uint64_t indexEnd = 0;  // the offset after the index chunk; 0 without one
    bool indexStale = false;     // members have changed since it was written
    MemberTable members;
    Footprint footprint;  // of the file when it was read

    // Returns whether the index lists all live members, and is written anew when they change.
    [[nodiscard]] bool Maintained() const {
        return index == IndexState::Whole || index == IndexState::OddLength;
    }
};

// Reads header and index. Of an index that is cut short the whole records count; one that keeps
// changing while it is read counts as missing. Fields that a short header does not hold are those
// of `base`. Throws Error: NotAnArchive, CannotRead.
[[nodiscard]] Contents ReadContents(const platform::FileHandle& file,
                                    const ArchiveHeader& base = {});

// Returns whether the header names the index that was read, which is there as it was: a file that
// only grew holds the same members.
[[nodiscard]] bool StillNamesIndex(const platform::FileHandle& file, const Contents& contents);

// Returns an archive without members, which is written nowhere yet.
[[nodiscard]] Contents NewContents(std::uint32_t buildVersion, std::uint32_t productCode);

// Adds the members that lie after all known ones, which is all of them when there is no index. One
// that begins where the file ended when its contents were read does not count: a change in place
// may be writing it. Throws Error (CannotRead).
void WalkRest(const platform::FileHandle& file, Contents& contents);

}  // namespace archive
