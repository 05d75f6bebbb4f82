// The guard in which every kernel thread runs.
#pragma once

#include <cstdint>

namespace Vorn {

class Thread;

// Thrown where an assertion has failed and was reported already: it ends its thread quietly.
class AssertEx {};

// Calls the thread's function and returns its result. A kernel exception that leaves the function
// is shown as a fatal error; that, and an AssertEx, make the result 0. So does a process that is
// terminating: then the function is not called. Running out of memory ends the process with 1
// (EndWithoutMemory) and leaves no crash report: it is no error of the program. A fault of the
// processor, and any other exception that nobody catches, leave a crash report (CrashReport.h).
[[nodiscard]] std::uint32_t ThreadEntry(Thread& thread);

}  // namespace Vorn
