// The system carries the text to an attached debugger itself; standard error is for the variable.
#include "platform/Debugger.h"

#include <windows.h>

#include <cstring>

namespace platform {

bool IsDebuggerPresent() { return ::IsDebuggerPresent() != 0; }

void DebugOutput(const char* text) {
    if (::IsDebuggerPresent() != 0) OutputDebugStringA(text);
    if (GetEnvironmentVariableW(L"VORN_DEBUG_OUTPUT", nullptr, 0) == 0) return;
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(std::strlen(text)), &written,
              nullptr);
}

}  // namespace platform
