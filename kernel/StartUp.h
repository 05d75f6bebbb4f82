// The kernel's life before main and after it.
//
// Order of birth: the allocator (constant-initialised), the teardown runner, the program's other
// static objects, the clock, the early initialisation, then what higher floors register at their
// first use. Order of teardown, the reverse: what higher floors registered, static objects, the
// teardown list last registered first, and at its very end the string pool.
#pragma once

#include <cstdint>

namespace Vorn {

// Once per process, later calls do nothing: sets the character rules, records the main thread,
// creates the string pool, registers its destruction as the first teardown entry and the teardown
// runner with the runtime's exit list. Runs before main; static initialisers that need the order
// call it themselves.
void EarlyInitialise();

// Functions to run at process exit, last registered first. At most 1024; one more throws
// Exception, for it is a programming error.
void RegisterTeardown(void (*function)());

[[nodiscard]] std::uint32_t MainThreadId();
// Records the calling thread as the main thread.
void RecordMainThread();

// Seconds since an unknown origin, for intervals.
[[nodiscard]] double GetTimeSeconds();

}  // namespace Vorn
