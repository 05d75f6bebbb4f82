#include "platform/Terminal.h"

#include <windows.h>

namespace platform {

bool IsTerminal(StandardStream stream) {
    DWORD mode = 0;
    const DWORD which = stream == StandardStream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE;
    // Only a console has a mode.
    return GetConsoleMode(GetStdHandle(which), &mode) != 0;
}

}  // namespace platform
