// Share modes and the change lock, as advisory locks on bytes far past the end of any file.
//
// Every opener holds shared locks on the bytes that say what it does and what it denies: "reads",
// "writes", "denies reading", "denies writing". The locks belong to the open descriptor, so they
// hold between openers of one process as well, and the system drops them when the descriptor
// closes, however the process ends.
#pragma once

#include "platform/Files.h"

namespace platform::posix {

// Registers `descriptor`, which must be readable, among the openers of its file; with CheckOnly it
// is only compared with them. Fails with EBUSY and leaves nothing locked if another opener's share
// mode and access disagree with these. A file system without lock support agrees to everything.
[[nodiscard]] bool PlaceShareLocks(int descriptor, Access access, Share share);

// Takes and releases the change lock (see FileHandle), on a byte next to those four. Taking fails
// if another descriptor holds it.
[[nodiscard]] bool TakeChangeLock(int descriptor);
[[nodiscard]] bool OthersHoldChangeLock(int descriptor);
void DropChangeLock(int descriptor);

}  // namespace platform::posix
