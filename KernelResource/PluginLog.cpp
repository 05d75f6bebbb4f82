#include "KernelResource/PluginLog.h"

#include <algorithm>
#include <string>

#include "services/Log.h"

namespace Vorn {
namespace {

constexpr std::size_t kMostQuoted = 200;

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

}  // namespace

void WarnOfPlugin(std::string_view quoted, const char* complaint) {
    std::string shown(quoted.substr(0, kMostQuoted));
    std::ranges::replace_if(shown, IsControl, '.');
    LogWrite(RegisterLogModule("Plugin"), LogLevel::Warn, "%s: %s", shown.c_str(), complaint);
}

}  // namespace Vorn
