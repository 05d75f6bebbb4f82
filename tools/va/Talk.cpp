#include "tools/va/Talk.h"

#include <cstdio>

namespace va::tool {

void Talk::Say(bool aloud, std::string_view prefix, std::string_view text) {
    if (!aloud) return;
    progress_.Clear();
    std::string line(prefix);
    line.append(text).append(text.ends_with('\n') ? "" : "\n");
    // Standard error is unbuffered: this is one write to the system. There is nowhere to report
    // that it failed.
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace va::tool
