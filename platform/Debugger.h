// What a debugger sees. Any thread, also one that has faulted: nothing here allocates or locks.
#pragma once

namespace platform {

[[nodiscard]] bool IsDebuggerPresent();

// Shows `text` to the debugger. Silent unless one is attached or the environment variable
// VORN_DEBUG_OUTPUT is set; then it goes to standard error.
void DebugOutput(const char* text);

}  // namespace platform
