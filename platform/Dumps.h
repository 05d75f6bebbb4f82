// Minidumps: what a debugger needs to look at a process that has ended.
#pragma once

#include "platform/FaultTools.h"
#include "platform/Faults.h"

namespace platform {

// Writes a minidump of this process to `file`, which is empty: the system, the modules, the fault,
// and of every thread the registers and the stack in use (of threads other than the faulted one at
// most a megabyte, and the 1000 first). The others are stopped while it is written. Of a thread
// that cannot be stopped within a second, the dump has what the system tells: its number, and when
// it waits its stack.
//
// For a fault filter, on one thread at a time; other threads may hold any lock, the heap's too.
// False when the system did not take all; what it took stays.
bool WriteMiniDump(FaultFile& file, const Fault& fault);

}  // namespace platform
