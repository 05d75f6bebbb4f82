// Serves the members of one archive file, and changes the file. archive/ knows the format; this
// class adds the slots of a backend and one lock around ArchiveMembers (lookup), ArchiveSearch and
// ArchiveChanges.
//
// Owns the descriptor and the index in memory. Files that read members borrow the descriptor and
// hold Lock() around each read. Lock order: substitution list, then this.
//
// A member is found by its name, letter case ignored. A name stored with '\', or with "." or ".."
// parts, is reached by searching only. Without a usable index, members are found by walking the
// chunks of the file.
//
// Decided here, where the format leaves it open:
// - An empty file (what a process killed during creation leaves) becomes an archive when its first
//   member is added. Other files shorter than 4 bytes, and those of format version 0x101, refuse
//   new members, because these could not be read back. An archive whose header is longer than 32
//   bytes, or not first in the file, is read-only: rewriting it would corrupt it.
// - A member that cannot be written whole (a full disk, more than 4 GiB) is not added: File::Close
//   returns false, and an older member of its name stays.
// - A member is always written anew: modes that append to an existing one, change it, or read and
//   write it are refused.
// - An archive without a usable index whose last member was cut short refuses new members. Bytes
//   at the end that a walk cannot pass become a deleted chunk before the first new member.
// - A new member is complete on disk before the one it replaces is marked deleted. A process that
//   is killed while it adds members leaves an archive without an index, in which a walk finds every
//   complete member.
// - One process at a time changes an archive. It holds the file's change lock from the creation of
//   the file, or from the first member added or deleted, until Complete. A member that is finished
//   after its mount has ended takes the lock for itself alone. Others wait for the lock for 30
//   seconds; then their changes fail, later ones without a wait. A new holder reads the archive
//   again if it has changed meanwhile, which ends its searches. Two mounts of one archive in one
//   process count as two processes.
// - Readers take no lock. The mark of a new member, and that of a new index, is written last; an
//   index that changed while it was read is not used. So a reader finds whole members only, as they
//   were before or after a change.
// - Deleting removes exactly the member that the lookup found, also if its name holds wildcards.
// - A member chunk shorter than its entry ends a walk over the chunks: it was never finished.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KernelStandard/ArchiveChanges.h"
#include "KernelStandard/ArchiveMembers.h"
#include "KernelStandard/ArchiveSearch.h"
#include "KernelStandard/FileSub.h"
#include "kernel/SyncObject.h"
#include "platform/Files.h"

namespace Vorn {

class FileSubArchive final : public FileSub {
public:
    using ProgressHook = ArchiveChanges::ProgressHook;

    // Opens the file, or creates it if it is missing and `writable`. A file that is missing or not
    // an archive leaves the backend unavailable. Throws FileEx only if a writable archive can be
    // neither opened nor created. Never replaces an existing file.
    FileSubArchive(const char* path, bool writable);

    // Completes the archive; its result is lost.
    ~FileSubArchive() override;

    // Set the numbers in the headers of archives created from now on, and the hook of the whole
    // process. Call them before other threads write.
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
    // Returns whether there is such a member, or such a folder if the last component of `name` has
    // none of ". * ?".
    [[nodiscard]] bool Exists(InternedString& substName, const char* name) override;
    [[nodiscard]] bool Delete(const char* name) override;
    [[nodiscard]] bool Stat(std::uint32_t& writeTime, const char* name) override;
    void CollectInto(FileSubs& list) override { list.push_back(shared_from_this()); }
    void Lock() override VORN_NO_THREAD_SAFETY_ANALYSIS { lock_.Enter(); }
    void Unlock() override VORN_NO_THREAD_SAFETY_ANALYSIS { lock_.Leave(); }
    [[nodiscard]] bool IsRoot(const char* text) const override { return path_.View() == text; }
    void EndMount() override;
    // Appends this archive if it has a member `name` and may be changed.
    void CollectToDelete(const char* name, FileSubs& list) override;
    // Takes the change lock, which this mount then holds until Complete; reads the archive again if
    // another process has changed it. False if another process still holds the lock after 30
    // seconds. Files that add a member do this themselves.
    [[nodiscard]] bool BeginChanges() override;

    // Returns the header as last read or written; the defaults for an archive that is not open.
    [[nodiscard]] archive::ArchiveHeader Header() const;

    // True if the file exists but could not be opened or read at mount time. False for a file that
    // was read and is not an archive, or only the start of one.
    [[nodiscard]] bool ReadFailed() const;

    // Returns whether the header promises an index that is missing or cut short, so that members
    // may be missing. False while another process changes the archive, because then every complete
    // member is found.
    [[nodiscard]] bool LacksIndex();

    // Writes index and header if they must be written, and lets others change the archive. False
    // if they could not be written: the header is then unchanged, and readers walk the chunks.
    [[nodiscard]] bool Complete();

    // Lets members that AddMember adds from now on appear several at a time, at the latest with
    // Flush. A process that is killed meanwhile leaves fewer members, but whole ones only.
    void AddInBatches();
    // Adds a member whose content is in memory; replaces the one of that name. False if it was not
    // added; the older member then stays. Call BeginChanges first.
    [[nodiscard]] bool AddMember(const char* name, std::span<const std::byte> content,
                                 bool compress);
    // Returns whether AddMember and File::Open may add a member of that name.
    [[nodiscard]] bool CanAdd(const char* name) const;
    // Makes the members of an unfinished batch appear. False if some could not be written.
    [[nodiscard]] bool Flush();
    // Returns the names of members that AddMember accepted for a batch and that could not be
    // written, since the last call.
    [[nodiscard]] std::vector<std::string> TakeLost();

    // Returns whether the last member was not added because the archive would pass 4 GiB.
    [[nodiscard]] bool WasFull() const;

    // Begin and end a search over the members. Handles are small numbers; an invalid one is
    // ignored.
    [[nodiscard]] int BeginFind();
    void EndFind(int search);
    // Finds the next entry that matches `pattern` (MatchWildcards). A member below a folder that
    // the pattern matches gives an entry of that folder, once for every such member. `advance`
    // moves the search past the member's data; `exact` looks `pattern` up as one name instead.
    [[nodiscard]] bool FindNext(const char* pattern, int search, archive::FindEntry& entry,
                                bool advance, bool exact);

private:
    using Ordinal = ArchiveMembers::Ordinal;

    void CreateArchive() VORN_REQUIRES(lock_);
    // Returns the member that `name` means; one leading separator is ignored.
    [[nodiscard]] std::optional<Ordinal> LookUp(const char* name) VORN_REQUIRES(lock_);

    // Waits for the change lock without lock_, so that the archive stays readable. Call it before
    // ArchiveChanges::Enter.
    void WaitForOtherChanges();
    // Returns whether a member of that name may be begun.
    [[nodiscard]] bool MayCreate(const char* name, platform::Creation creation);
    [[nodiscard]] bool Add(const char* name, std::uint32_t size, bool compress,
                           const ArchiveChanges::NextPiece& nextPiece) VORN_REQUIRES(lock_);
    // Adds a member from the temporary file that holds its content.
    [[nodiscard]] bool AddFrom(const platform::FileHandle& content, const OpenFile& file,
                               std::uint32_t size) VORN_REQUIRES(lock_);
    // Returns an empty temporary file for the content of a new member; closed if there is none.
    [[nodiscard]] platform::FileHandle TakeTemporary();

    mutable CriticalSection lock_{"FileSubArchive"};
    PathBuffer path_;
    const bool readOnly_;
    ArchiveMembers archive_ VORN_GUARDED_BY(lock_);
    ArchiveChanges changes_ VORN_GUARDED_BY(lock_);
    ArchiveChanges::Result lastAdded_ VORN_GUARDED_BY(lock_) = ArchiveChanges::Result::Done;
    bool mountEnded_ VORN_GUARDED_BY(lock_) = false;
    platform::FileHandle spareTemporary_ VORN_GUARDED_BY(lock_);  // for the next new member
    std::vector<std::optional<ArchiveSearch>> searches_ VORN_GUARDED_BY(lock_);  // by handle
};

}  // namespace Vorn
