// Reads one archive file (layout: docs/formats/archive.md).
//
// A reader is opened once and does not change afterwards; the bytes are read at positions, so any
// number of threads use one reader. It prints nothing and has no state outside itself. Archives
// without a usable index open too: their members are found by walking the chunks.
//
// Members are numbered in stored order: the index's, then those that follow all indexed ones in the
// file. Memory is about 130 bytes a member.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "archive/ContentReader.h"
#include "archive/Contents.h"

namespace archive {

class Reader {
public:
    // Throws Error: NotFound, CannotOpen, CannotRead, NotAnArchive.
    explicit Reader(const std::string& path);
    // Takes over a file that is open for reading.
    explicit Reader(platform::FileHandle file);
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    [[nodiscard]] const ArchiveHeader& Header() const { return contents_.header; }
    [[nodiscard]] IndexState Index() const { return contents_.index; }
    [[nodiscard]] const Contents& All() const { return contents_; }
    [[nodiscard]] const platform::FileHandle& File() const { return file_; }

    [[nodiscard]] std::size_t Count() const { return contents_.members.End(); }
    [[nodiscard]] Member operator[](std::size_t number) const {
        return contents_.members[static_cast<MemberTable::Ordinal>(number)];
    }
    // Returns the first member of that name; letter case is ignored, '/' and '\' are equal.
    [[nodiscard]] std::optional<Member> Find(std::string_view name) const;

    // Returns the whole content, its check sum compared. Throws Error: Damaged, SumDiffers,
    // CannotRead.
    [[nodiscard]] std::vector<std::byte> Read(const Member& member) const;
    // Returns the stored bytes as they are. Throws Error: Damaged when they are not all in the
    // file.
    [[nodiscard]] std::vector<std::byte> ReadStored(const Member& member) const;
    // For content in pieces, and for many members in a row. The reader must outlive it.
    [[nodiscard]] ContentReader NewContentReader(
        std::size_t window = ContentReader::kDefaultWindow) const;

private:
    platform::FileHandle file_;
    Contents contents_;
};

}  // namespace archive
