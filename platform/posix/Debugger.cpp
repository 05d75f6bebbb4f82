#include "platform/Debugger.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace platform {

bool IsDebuggerPresent() {
    constexpr std::string_view kField = "TracerPid:";
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(kField)) {
            return std::strtol(line.c_str() + kField.size(), nullptr, 10) != 0;
        }
    }
    return false;
}

void DebugOutput(const char* text) {
    if (std::getenv("VORN_DEBUG_OUTPUT") != nullptr || IsDebuggerPresent()) {
        std::fputs(text, stderr);
    }
}

}  // namespace platform
