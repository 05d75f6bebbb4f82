// What the plug-in system has to say to the log, in the module "Plugin".
#pragma once

#include <string_view>

namespace Vorn {

// One warning, "quoted: complaint". What is quoted comes from files: its first 200 bytes are
// written, with dots for control characters.
void WarnOfPlugin(std::string_view quoted, const char* complaint);

}  // namespace Vorn
