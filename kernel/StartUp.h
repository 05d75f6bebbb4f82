// The kernel's life before main and after it.
//
// Order of birth: the allocator (constant-initialised), the clock, the early initialisation with
// the teardown runner, the program's static objects, then what higher floors register at their
// first use. Order of teardown, the reverse: what higher floors registered, static objects, the
// teardown list last registered first, and at its very end the string pool and the final function.
//
// A std::bad_alloc that nobody catches, before main or on any thread, ends the process by
// EndWithoutMemory.
#pragma once

#include <cstdint>

namespace Vorn {

// Once per process, later calls do nothing: registers the teardown runner with the runtime's exit
// list, records the main thread, creates the string pool and registers its destruction as the
// first teardown entry. Runs before every static object of the program.
//
// Character rules need no setting up: letter case comes from platform/CodePage.h, which is always
// the ANSI code page. The C library's locale is process wide and stays as the program has it.
void EarlyInitialise();

// Ends the process with exit code 1 after a line on standard error; nothing is cleaned up. Any
// thread.
[[noreturn]] void EndWithoutMemory() noexcept;

// Functions to run at process exit, last registered first. Any thread. At most 1024; one more
// throws Exception, for it is a programming error.
void RegisterTeardown(void (*function)());

// The one function that runs after all of these, when the string pool is gone. Any thread.
void SetFinalTeardown(void (*function)());

[[nodiscard]] std::uint32_t MainThreadId();
// Records the calling thread as the main thread.
void RecordMainThread();

// Seconds since an unknown origin, for intervals.
[[nodiscard]] double GetTimeSeconds();

}  // namespace Vorn
