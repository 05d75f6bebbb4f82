#include "platform/Debugger.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <span>
#include <string_view>

#include "platform/posix/RawFiles.h"

namespace platform {

bool IsDebuggerPresent() {
    std::array<char, 4096> buffer;
    return posix::NumberAfter(posix::ReadText("/proc/self/status", buffer), "TracerPid:") != 0;
}

void DebugOutput(const char* text) {
    if (std::getenv("VORN_DEBUG_OUTPUT") || IsDebuggerPresent()) {
        // There is nowhere to report that debug output failed.
        (void)posix::WriteAll(STDERR_FILENO, std::as_bytes(std::span(std::string_view(text))));
    }
}

}  // namespace platform
