#include "tools/va/Talk.h"

#include <cstdio>

namespace va::tool {

void Talk::Say(bool aloud, std::string_view prefix, std::string_view text) {
    if (!aloud) return;
    progress_.Clear();
    std::string line(prefix);
    line.append(text).append(text.ends_with('\n') ? "" : "\n");
    // Standard error is unbuffered, so this is one system call. A failure is ignored: there is
    // nowhere to report it.
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace va::tool
