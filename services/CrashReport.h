// What a fault in a kernel thread leaves behind for a developer: the text ERRORLOG.TXT and the
// minidump CRASH.DMP, both in the temporary directory and for this user's eyes only.
//
// Registers and addresses in the text are the low 32 bits; the dump has all of them. The text names
// the program by its path, and says of modules what their format holds: on systems where programs
// carry no checksum, time stamp or version these are 0 and empty.
#pragma once

#include "platform/Faults.h"

namespace Vorn {

// Asks for all that the report needs and a faulted thread cannot ask for: the paths, the user, the
// time zone's present offset. To be called before the first WriteCrashReport; later calls do
// nothing. From then on an exception that nobody catches is a fault of its thread too, if that one
// is guarded. Any thread.
void PrepareCrashReport();

// Writes the report of the process's first fault, ends the log with "Shutdown." and starts the
// reporter, "XCrashReport.exe" in the program's directory, with the program's file name as its
// argument. The process ends at once if the reporter has started. In all other cases the fault is
// passed on: there is no reporter, the text cannot be created, a debugger is present, or this is
// not the first fault. One that comes while the report is being written waits for its end first,
// but no longer than half a minute.
//
// A fault filter: allocates nothing, and waits for no lock but the log's, for half a second.
platform::FaultAnswer WriteCrashReport(const platform::Fault& fault);

}  // namespace Vorn
