// One open archive file and the members that are known of it: finds members by name, and walks the
// chunks of the file for those that no index lists.
//
// Names are compared as archive::SameName does, one leading separator ignored.
//
// Not locked: the lock of the archive's backend guards it.
#pragma once

#include <cstdint>
#include <optional>

#include "KernelStandard/ArchiveFolders.h"
#include "archive/Contents.h"
#include "archive/Cursor.h"
#include "platform/Files.h"

namespace Vorn {

class ArchiveMembers {
public:
    using Ordinal = archive::MemberTable::Ordinal;

    // `defaults` gives the numbers that the header of a new or short archive does not have.
    ArchiveMembers(bool writable, const archive::ArchiveHeader& defaults);
    ArchiveMembers(const ArchiveMembers&) = delete;
    ArchiveMembers& operator=(const ArchiveMembers&) = delete;

    // The caller opens the file, then calls Read or Start.
    [[nodiscard]] platform::FileHandle& File() { return file_; }
    // Returns whether the file is open, and was an archive when it was last read.
    [[nodiscard]] bool IsUsable() const { return isArchive_ && file_.IsOpen(); }

    // Reads header and index; forgets what was known before, ordinals included. A file that is not
    // an archive or cannot be read is not usable from then on. It stays open: files that borrow the
    // descriptor, and a thread that waits for the change lock, use it without this object.
    void Read();
    // Returns whether the file could not be opened or read, as opposed to a file that was read and
    // is not an archive.
    [[nodiscard]] bool ReadFailed() const { return readFailed_; }
    // Returns how often the archive was read: ordinals are valid while this stays the same.
    [[nodiscard]] unsigned TimesRead() const { return timesRead_; }
    // Returns whether another process has changed the file since it was read.
    [[nodiscard]] bool HasChanged() const;

    // Makes an empty file an archive without members. Throws archive::Error (CannotWrite).
    void Start();

    // Returns whether members may be added and deleted: the archive is usable, writable, and its
    // header can be rewritten.
    [[nodiscard]] bool MayChange() const;

    [[nodiscard]] archive::Contents& Contents() { return contents_; }
    [[nodiscard]] const archive::Contents& Contents() const { return contents_; }
    [[nodiscard]] const archive::MemberTable& Table() const { return contents_.members; }
    [[nodiscard]] ArchiveFolders& Folders() { return folders_; }
    // Returns a member's entry as searches give it.
    [[nodiscard]] archive::FindEntry EntryOf(Ordinal ordinal) const;

    // Finds a member among those that are known.
    [[nodiscard]] std::optional<Ordinal> Find(const char* name) const;
    // Finds a member among those that are known, else by walking the rest of the file.
    [[nodiscard]] std::optional<Ordinal> FindOrWalk(const char* name);

    // Returns the offset where a walk over the chunks after the known members begins.
    [[nodiscard]] std::uint64_t WalkStart() const;
    // Walks to the next member and adds it. Nothing at the end, or if the file cannot be read.
    [[nodiscard]] std::optional<Ordinal> Walk(archive::Cursor& cursor);
    // Adds all members that are not known yet.
    void WalkRest();

private:
    [[nodiscard]] std::optional<Ordinal> WalkFor(const char* name);

    const bool writable_;
    const archive::ArchiveHeader defaults_;
    platform::FileHandle file_;
    archive::Contents contents_;
    ArchiveFolders folders_;
    unsigned timesRead_ = 0;
    bool isArchive_ = true;
    bool readFailed_ = false;
    // A walk that began here reached the end of a file of that size and found nothing.
    std::uint64_t walkedFrom_ = 0;
    std::uint64_t walkedSize_ = 0;
};

}  // namespace Vorn
