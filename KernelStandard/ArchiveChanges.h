// The changes that one mount makes to its archive: takes the file's change lock, adds and deletes
// members, completes the archive.
//
// One process at a time changes an archive. The first change takes the lock and makes an appender;
// both are kept until Complete.
//
// Borrows the members. Not locked: the lock of the archive's backend guards it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "KernelStandard/ArchiveMembers.h"
#include "archive/Appender.h"

namespace Vorn {

class ArchiveChanges {
public:
    // Called after each piece of a member, with the content bytes written and the stored bytes so
    // far (0 for a plain member).
    using ProgressHook = void (*)(std::uint32_t contentBytes, std::uint32_t storedBytes);
    // Returns `count` bytes of content from `done` on. May throw archive::Error.
    using NextPiece =
        std::function<std::span<const std::byte>(std::uint32_t done, std::uint32_t count)>;

    explicit ArchiveChanges(ArchiveMembers& archive) : archive_(archive) {}
    ArchiveChanges(const ArchiveChanges&) = delete;
    ArchiveChanges& operator=(const ArchiveChanges&) = delete;

    // Sets the hook of the process; null for none.
    static void SetProgressHook(ProgressHook hook);

    // Returns whether this mount changes the archive: it holds the lock, and all members are known.
    [[nodiscard]] bool Active() const { return appender_.has_value(); }

    // Returns how long to wait for the lock before Enter, in milliseconds: 0 once a wait was in
    // vain. Nothing if no lock is needed.
    [[nodiscard]] std::optional<int> Patience() const;
    // Records how the wait ended. Enter takes the lock either way, if it is free.
    void SetWaitedInVain(bool inVain) { waitedInVain_ = inVain; }
    // Takes the lock, reads the archive again if it has changed, and gets ready to change it. False
    // if another process holds the lock. True also for an archive that may not be changed; it then
    // does nothing.
    [[nodiscard]] bool Enter();
    // Makes a file that was just created, and whose lock this mount has taken, an archive. Throws
    // archive::Error (CannotWrite).
    void Start();

    enum class Result {
        Done,
        Full,  // the archive would pass 4 GiB
        Failed,
    };
    // Adds a member, or replaces the one of that name. If it is not added, the older member stays.
    // Needs Active.
    [[nodiscard]] Result Add(const char* name, std::uint32_t size, bool compress,
                             const NextPiece& nextPiece);
    // Lets members that are added from now on appear several at a time, at the latest with Flush.
    void AddInBatches() { batches_ = true; }
    // Makes the members of an unfinished batch appear. False if some could not be written.
    [[nodiscard]] bool Flush();
    // Returns the names of members of batches that could not be written, since the last call.
    [[nodiscard]] std::vector<std::string> TakeLost();
    // Deletes a member. Needs Active.
    [[nodiscard]] bool Delete(const char* name);

    // Writes index and header if they must be written, and releases the lock. False if they could
    // not be written: this mount then still holds the lock.
    [[nodiscard]] bool Complete();

private:
    void Write(std::uint32_t size, bool compress, const NextPiece& nextPiece);

    ArchiveMembers& archive_;
    std::optional<archive::Appender> appender_;
    bool batches_ = false;
    bool waitedInVain_ = false;
};

}  // namespace Vorn
