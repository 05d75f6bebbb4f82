// Talking to an attached debugger. Safe on any thread, including one that has faulted: nothing here
// allocates or locks.
#pragma once

namespace platform {

[[nodiscard]] bool IsDebuggerPresent();

// Writes `text` to standard error if a debugger is attached or the environment variable
// VORN_DEBUG_OUTPUT is set; else does nothing.
void DebugOutput(const char* text);

}  // namespace platform
