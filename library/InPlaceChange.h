// One change of an archive in place: takes its lock, collects what is to change, makes it count.
//
// New bytes are written past the old end:
//
//     guard     a deleted chunk that reaches past the end of the file, so that no walk over the
//               chunks finds what follows; once it counts, an empty one
//     members   that are added
//     index     of all members from now on
//     mark      an empty deleted chunk while marks and names of old chunks are brought in line
//
// One write of 8 bytes, the header's member count and index offset, makes it count. Chunks of
// replaced and deleted members are marked, and names in chunks changed, after it: readers go by the
// index, so whatever a killed run leaves undone of that harms nothing. Only where no member is
// added are chunks marked before it, since readers also look for members after the last one that
// the index lists. The next change brings all chunks in line with the index, and cuts off what a
// run left that was killed before its change counted.
//
// One thread at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "archive/ChunkWriter.h"
#include "archive/Contents.h"
#include "vaconverter/writer.h"

namespace va {

class InPlaceChange {
public:
    using Ordinal = archive::MemberTable::Ordinal;

    // Opens the archive for writing and waits for its lock; with `dryRun` only reads. Throws Error:
    // NotFound, Refused for what is no archive, cannot be written, or is damaged.
    InPlaceChange(const std::filesystem::path& path, bool dryRun);
    ~InPlaceChange();
    InPlaceChange(const InPlaceChange&) = delete;
    InPlaceChange& operator=(const InPlaceChange&) = delete;

    // Returns the members as they are now.
    [[nodiscard]] const archive::MemberTable& Members() const { return contents_.members; }
    [[nodiscard]] const archive::ArchiveHeader& Header() const { return contents_.header; }

    // Notes members to take out, and to give another name (a stored one). Throws Error (Refused)
    // where no live member lies at its place.
    void Drop(Ordinal ordinal);
    void Rename(Ordinal ordinal, std::string name);

    // Throws Error (DiskFull) if the members and their new index cannot fit: `least` bytes of
    // chunks and `count` records are certain to be written.
    void JudgeRoom(std::uint64_t least, std::uint64_t count) const;

    // Begins to write: gives what takes the chunks of new members, and the table that gets them.
    // The table has the old members that stay.
    [[nodiscard]] std::pair<archive::ChunkWriter&, archive::MemberTable&> Begin();
    // Makes the change count. Throws archive::Error; the archive is then as it was.
    void Commit();

    // The size of the file and its bytes that no reader needs.
    void Describe(ChangeResult& result) const;

private:
    struct Renamed {
        Ordinal ordinal;
        std::string name;
    };

    void Open();
    void JudgeLayout() const;
    void FindEnd();
    void JudgeChunk(const archive::Member& member) const;
    void TakeOver();
    [[nodiscard]] bool MarkDropped(std::string_view mark);
    [[nodiscard]] bool BringChunksInLine();
    void FinishEarlierChange();
    [[noreturn]] void Refuse(const std::string& reason) const;

    const std::filesystem::path path_;
    const bool dryRun_;
    platform::FileHandle file_;
    archive::Contents contents_;
    std::uint64_t end_ = 0;  // of all that counts
    std::vector<bool> dropped_;
    std::vector<Renamed> renamed_;

    archive::MemberTable next_;
    std::optional<archive::ChunkWriter> chunks_;
    Ordinal firstNew_ = 0;
    bool markedFirst_ = false;
    bool committed_ = false;
};

}  // namespace va
