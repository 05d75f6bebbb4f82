// The kernel's start-up before main and its teardown after it.
//
// Start-up order: the allocator (constant-initialised), the clock, the early initialisation with
// the teardown runner, the program's static objects, then what higher rooms register at their first
// use. Teardown is the reverse: what higher rooms registered, static objects, the teardown list
// (last registered first), and at its very end the string pool and the final function.
//
// An uncaught std::bad_alloc, before main or on any thread, ends the process by EndWithoutMemory.
#pragma once

#include <cstdint>

namespace Vorn {

// Registers the teardown runner with the runtime's exit list, records the main thread, creates the
// string pool and registers its destruction as the first teardown entry. Runs before every static
// object of the program; later calls do nothing.
//
// Leaves the C library's locale alone, which is process-wide: letter case comes from
// kernel/LetterCase.h.
void EarlyInitialise();

// Writes a line to standard error and ends the process with exit code 1, without teardown. Any
// thread.
[[noreturn]] void EndWithoutMemory() noexcept;

// Adds a function to run at process exit, last registered first. Any thread. The list holds 1024;
// one more is a programming error and throws Exception.
void RegisterTeardown(void (*function)());

// Sets the one function that runs after all of these and after the string pool's end. Any thread.
void SetFinalTeardown(void (*function)());

[[nodiscard]] std::uint32_t MainThreadId();
// Records the calling thread as the main thread.
void RecordMainThread();

// Returns seconds since an arbitrary origin, for measuring intervals.
[[nodiscard]] double GetTimeSeconds();

}  // namespace Vorn
