// The change lock of FileHandle: the system's lock on a byte far past the end of any file.
//
// The system's locks exclude a handle from itself as well; so this keeps a list of the handles of
// this process that hold theirs.
#pragma once

#include <windows.h>

namespace platform::windows {

// Takes the lock without waiting; true at once if `file` has it, and on a file system without
// locks.
[[nodiscard]] bool TakeChangeLock(HANDLE file);
[[nodiscard]] bool OthersHoldChangeLock(HANDLE file);
void DropChangeLock(HANDLE file);

// Forgets a handle that is about to be closed, which ends its lock.
void ForgetChangeLock(HANDLE file) noexcept;

}  // namespace platform::windows
