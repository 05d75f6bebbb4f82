// Minidumps: what a debugger needs to look at a process that has ended.
#pragma once

#include "platform/FaultTools.h"
#include "platform/Faults.h"

namespace platform {

// Writes a minidump of this process to `file`, which is empty: the system, the modules, the fault,
// and of its thread all registers and the stack in use; no other thread. For a fault filter, on
// one thread at a time. False when the system did not take all; what it took stays.
bool WriteMiniDump(FaultFile& file, const Fault& fault);

}  // namespace platform
