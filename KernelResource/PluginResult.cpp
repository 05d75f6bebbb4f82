#include "KernelResource/PluginResult.h"

#include <array>
#include <cstddef>

namespace Vorn {
namespace {

constexpr std::array<PluginResultText, 8> kTexts{{
    {"RES_SUCCESS", ""},
    {"RES_LIBRARYNOTFOUND", "Plugin library not found"},
    {"RES_ENTRYPOINTNOTFOUND", "Plugin library has no entry point"},
    {"RES_NOTSUPPORTED", "Dynamic loading not supported"},
    {"RES_PLUGINIDNOTFOUND", "Plugin id not found"},
    {"RES_PLUGINGROUPIDNOTFOUND", "Plugin group id not found"},
    {"RES_PLUGINNAMENOTFOUND", "Plugin name not found"},
    {"RES_PLUGINLIBRARYNOTFOUND", "Plugin has no library associated or library was not found"},
}};
static_assert(kTexts.size() == RES_PLUGINLIBRARYNOTFOUND + 1);

}  // namespace

const PluginResultText& DescribePluginResult(PluginResult result) {
    return kTexts[static_cast<std::size_t>(result)];
}

}  // namespace Vorn
