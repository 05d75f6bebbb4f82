// Minidumps, for looking at a crashed process in a debugger.
#pragma once

#include "platform/FaultTools.h"
#include "platform/Faults.h"

namespace platform {

// Writes a minidump of this process to the empty file `file`: the system, the modules, the fault,
// and the registers and stack in use of every thread (of other threads the first 1000, with at most
// a megabyte of stack each). The other threads are stopped meanwhile. For a thread that cannot be
// stopped within a second the dump has its number and, if it is waiting, its stack.
//
// Call it in a fault filter, on one thread at a time. Other threads may hold any lock, even the
// heap's. Returns false if a write failed; the file then holds what was written before.
bool WriteMiniDump(FaultFile& file, const Fault& fault);

}  // namespace platform
