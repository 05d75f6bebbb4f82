// Writes a report for developers when a kernel thread faults: the text ERRORLOG.TXT and the
// minidump CRASH.DMP, both in the temporary directory and readable by this user only.
//
// Registers and addresses in the text are the low 32 bits; the dump has all of them. Check sum,
// time stamp and version of a module are 0 and empty on systems whose program files have none.
#pragma once

#include "platform/Faults.h"

namespace Vorn {

// Collects in advance what a faulted thread could not query: the paths, the user, the current
// offset of the time zone. Call it before the first WriteCrashReport; later calls do nothing. From
// then on an uncaught exception of a guarded thread is a fault of that thread too. Any thread.
void PrepareCrashReport();

// Writes the report of the process's first fault, ends the log with "Shutdown." and starts the
// reporter, "XCrashReport.exe" in the program's directory, with the program's file name as its
// argument. The process ends at once if the reporter has started. Otherwise the fault is passed on:
// there is no reporter, the text cannot be created, a debugger is present, or this is not the first
// fault. A fault in another thread waits until the report is written, at most 30 seconds.
//
// This is a fault filter: it allocates nothing, and waits for no lock except the log's, for at most
// half a second.
platform::FaultAnswer WriteCrashReport(const platform::Fault& fault);

}  // namespace Vorn
