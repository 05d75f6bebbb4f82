#include "KernelResource/PluginResult.h"

#include <array>

namespace Vorn {
namespace {

constexpr std::array<ResultText, 8> kTexts{{
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

const ResultText& DescribePluginResult(PluginResult result) {
    return DescribeResult(kTexts, result, RES_LIBRARYNOTFOUND);
}

}  // namespace Vorn
