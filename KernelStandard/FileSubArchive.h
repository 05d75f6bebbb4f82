// Serves the members of one archive file, and writes them: the mount layer's slots and lock over
// archive/, which knows the format.
//
// Owns the descriptor and the index in memory. Member Files borrow the descriptor: each raw read
// holds Lock() around it. Lock order: substitution list, then this.
//
// A member is found by its name in any letter case. A name stored with '\', or with "." or ".."
// parts, is reached by searching only. Without a usable index, members are found by walking the
// chunks of the file.
//
// Decided here, where the format leaves it open:
// - An empty file becomes an archive when its first member is added: a process that was killed
//   while it created one left it. Other files shorter than 4 bytes, and those of format version
//   0x101, refuse new members: what was written could not be read back. One whose header is longer
//   than ours, or not at the front, refuses every change: writing our header would spoil it.
// - A member that cannot be written whole (a full disk, more than 4 GiB) is not added, the member
//   of that name that it would have replaced stays, and File::Close says so.
// - A member is always written anew: appending to one that exists, changing it and opening it for
//   reading and writing are refused.
// - An archive without a usable index whose last member was cut short refuses new members; bytes
//   that no walk gets past become a deleted chunk before the first of them.
// - A new member is complete on disk before the one it replaces is marked deleted. A process that
//   is killed while it adds leaves an archive without an index, in which every member that was
//   complete is found by walking.
// - One process at a time changes an archive: from the creation of the file, or the first member
//   that is added or deleted, to Complete, it holds the file's change lock. A member that is
//   finished after its mount has ended takes it for itself alone. Another one waits for
//   it for 30 seconds; then its changes fail, the next ones at once. The next holder reads
//   the archive anew if it has changed since it was read; searches under way end then. Two mounts
//   of one archive in one process count as two.
// - Readers take no lock. The mark that makes a member one is written last, and so is the mark of
//   the index; an index that changed while it was read is not used. A reader so finds whole members
//   only, as they were before or after a change.
// - Deleting removes exactly the member that the lookup found, also when its name holds wildcards.
// - A member chunk shorter than its entry ends a walk over the chunks: it was never finished.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KernelStandard/ArchiveFolders.h"
#include "KernelStandard/FileSub.h"
#include "KernelStandard/FileTypes.h"
#include "archive/Appender.h"
#include "archive/Contents.h"
#include "kernel/SyncObject.h"
#include "platform/Files.h"

namespace Vorn {

class FileSubArchive final : public FileSub {
public:
    // Called while a member is written: content bytes done, and stored bytes so far (0 for a plain
    // member).
    using ProgressHook = void (*)(std::uint32_t contentBytes, std::uint32_t storedBytes);

    // A missing file, or one that is not an archive, leaves the backend unavailable; a missing file
    // that is writable is created. Throws FileEx only when a writable archive can be neither opened
    // nor created. An existing file is never replaced.
    FileSubArchive(const char* path, bool writable);

    // Writes the index if it must be written.
    ~FileSubArchive() override;

    // What archives constructed from now on carry. Set before any thread writes.
    static void SetDefaultBuildVersion(std::uint32_t value);
    static void SetDefaultProductCode(std::uint32_t value);
    static void SetProgressHook(ProgressHook hook);  // null for none

    [[nodiscard]] bool IsReadOnly() const override { return readOnly_; }
    [[nodiscard]] bool IsAvailable() const override;
    [[nodiscard]] std::uint32_t GetStorageKind() const override { return Header().version; }
    [[nodiscard]] bool IsKind(int kind) const override { return kind == kKindArchive; }
    [[nodiscard]] bool OpenWrite(OpenFile& file, const char* name, OpenFlags flags) override;
    [[nodiscard]] bool OpenRead(OpenFile& file, const char* name, OpenFlags flags) override;
    bool CloseFile(OpenFile& file) override;
    // A member, or a directory of the archive when the last component has none of ". * ?".
    [[nodiscard]] bool Exists(InternedString& substName, const char* name) override;
    [[nodiscard]] bool Delete(const char* name) override;
    [[nodiscard]] bool Stat(std::uint32_t& writeTime, const char* name) override;
    void CollectInto(FileSubs& list) override { list.push_back(shared_from_this()); }
    void Lock() override VORN_NO_THREAD_SAFETY_ANALYSIS { lock_.Enter(); }
    void Unlock() override VORN_NO_THREAD_SAFETY_ANALYSIS { lock_.Leave(); }
    [[nodiscard]] bool IsRoot(const char* text) const override { return path_.View() == text; }
    void EndMount() override;
    // This archive, if it has a member `name` and may be changed.
    void CollectToDelete(const char* name, FileSubs& list) override;
    // Reads the archive anew if another process changed it. This mount then is the one that changes
    // it, until Complete. False when the other one still works after 30 seconds. Adding calls it
    // itself.
    [[nodiscard]] bool BeginChanges() override;

    // As last read or written; the defaults for an archive that is not open.
    [[nodiscard]] archive::ArchiveHeader Header() const;

    // Whether a file that is there could not be opened or read when it was mounted for reading, so
    // that nobody knows what it holds. What is no archive, or only its beginning, was read.
    [[nodiscard]] bool ReadFailed() const { return readFailed_; }

    // Whether the header promises an index that is not there, or cut short: members may be missing.
    // False while another process changes the archive, since then all that are whole are found.
    [[nodiscard]] bool LacksIndex();

    // Writes index and header if they must be written, and lets others change the archive. False
    // when they could not be: the header then is as it was, and readers walk the chunks. The
    // destructor does the same and cannot say.
    [[nodiscard]] bool Complete();

    // From now on members that AddMember adds may appear several at a time, at the latest with
    // Flush: a process that is killed meanwhile leaves fewer of them, but whole ones only.
    void AddInBatches();
    // Adds a member whose content is at hand, or replaces the one of that name. False when it was
    // not added; the member that it would have replaced then stays. Call BeginChanges first.
    [[nodiscard]] bool AddMember(const char* name, std::span<const std::byte> content,
                                 bool compress);
    // Whether AddMember and File::Open may add a member of that name.
    [[nodiscard]] bool CanAdd(const char* name) const;
    // Makes the members of an unfinished batch appear. False when some could not be written.
    [[nodiscard]] bool Flush();
    // Returns the names of members that were added to a batch and then could not be written, since
    // the last call.
    [[nodiscard]] std::vector<std::string> TakeLost();

    // Whether the last member that was not added had no room: the archive would pass 4 GiB.
    [[nodiscard]] bool WasFull() const { return wasFull_; }

    // A search over the members. Handles are small numbers; an invalid one is ignored.
    [[nodiscard]] int BeginFind();
    void EndFind(int search);
    // The next entry that matches `pattern` (MatchWildcards). A member below a directory that the
    // pattern matches gives a directory entry, once for every such member. `advance` moves the
    // search past the member's data; `exact` looks `pattern` up as one name instead.
    [[nodiscard]] bool FindNext(const char* pattern, int search, archive::FindEntry& entry,
                                bool advance, bool exact);

private:
    using Ordinal = archive::MemberTable::Ordinal;

    struct Search {
        bool used = false;
        std::uint64_t position = 0;  // in the file; a walk over the chunks goes on from here
        bool prepared = false;
        std::vector<Ordinal> candidates;  // members below the pattern's directories
        std::size_t nextCandidate = 0;
        Ordinal next = 0;  // then every member from here on
    };

    // Mounting.
    void CreateArchive() VORN_REQUIRES(lock_);
    void ReadArchive() VORN_REQUIRES(lock_);
    // Forgets what was read, and reads again.
    void ReadAnew() VORN_REQUIRES(lock_);

    // Searching.
    // The member that `name` means, one leading separator ignored; nothing when there is none.
    [[nodiscard]] std::optional<Ordinal> LookUp(const char* name) VORN_REQUIRES(lock_);
    [[nodiscard]] std::optional<Ordinal> WalkFor(const char* name) VORN_REQUIRES(lock_);
    [[nodiscard]] archive::FindEntry EntryOf(Ordinal ordinal) const VORN_REQUIRES(lock_);
    [[nodiscard]] bool FindByPattern(std::string_view pattern, Search& search,
                                     archive::FindEntry& entry, bool advance) VORN_REQUIRES(lock_);
    void PrepareSearch(std::string_view pattern, Search& search) VORN_REQUIRES(lock_);
    [[nodiscard]] std::optional<Ordinal> NextMember(Search& search) VORN_REQUIRES(lock_);
    // Walks the chunks from `position` to the next member, which it adds; moves past its data.
    [[nodiscard]] std::optional<Ordinal> NextChunk(std::uint64_t& position) VORN_REQUIRES(lock_);

    // Writing.
    // Both are needed before a change: the first waits, and leaves the archive readable meanwhile;
    // the second gives the appender.
    void WaitForOtherChanges();
    [[nodiscard]] bool EnterChanges() VORN_REQUIRES(lock_);
    [[nodiscard]] bool BeginAppending() VORN_REQUIRES(lock_);
    // Whether a member of that name may be begun.
    [[nodiscard]] bool MayCreate(const char* name, platform::Creation creation);
    // A separate empty file for what is written; not open when there can be none.
    [[nodiscard]] platform::FileHandle TakeTemporary();
    [[nodiscard]] bool FlushBatch() VORN_REQUIRES(lock_);
    // `nextPiece(done, count)` gives the next `count` bytes of content.
    template <typename NextPiece>
    [[nodiscard]] bool Append(const char* name, std::uint32_t size, bool compress,
                              const NextPiece& nextPiece) VORN_REQUIRES(lock_);
    [[nodiscard]] bool AppendFrom(const platform::FileHandle& content, const OpenFile& file,
                                  std::uint32_t size) VORN_REQUIRES(lock_);

    mutable CriticalSection lock_{"FileSubArchive"};
    PathBuffer path_;
    const bool readOnly_;
    platform::FileHandle handle_;
    archive::Contents contents_;
    ArchiveFolders folders_ VORN_GUARDED_BY(lock_);
    bool changing_ VORN_GUARDED_BY(lock_) = false;  // holds the change lock
    bool mountEnded_ VORN_GUARDED_BY(lock_) = false;
    // While this mount changes an archive that may be changed.
    std::optional<archive::Appender> appender_ VORN_GUARDED_BY(lock_);
    bool batches_ VORN_GUARDED_BY(lock_) = false;
    bool waitedInVain_ VORN_GUARDED_BY(lock_) = false;
    bool wasFull_ = false;
    bool readFailed_ = false;
    platform::FileHandle spareTemporary_ VORN_GUARDED_BY(lock_);  // for the next new member
    std::vector<Search> searches_ VORN_GUARDED_BY(lock_);
    // A walk that began here met the end of a file of that size and found nothing.
    std::uint64_t walkedFrom_ VORN_GUARDED_BY(lock_) = 0;
    std::uint64_t walkedSize_ VORN_GUARDED_BY(lock_) = 0;
};

}  // namespace Vorn
