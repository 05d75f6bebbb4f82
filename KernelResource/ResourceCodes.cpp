#include "KernelResource/ResourceCodes.h"

#include <array>

namespace Vorn {
namespace {

constexpr std::array<ResultText, 8> kResourceTexts{{
    {"RES_RESOURCEOK", ""},
    {"RES_FAILED_TO_LOAD", "Failed to load resource"},
    {"RES_NOT_AVAILABLE", "Resource not available"},
    {"RES_LOCK_TIMEOUT", "Lock timed out"},
    {"RES_LOCK_FAILED", "Failed to lock resource"},
    {"RES_PARTIAL_LOAD", "Resource is partially loaded"},
    {"RES_NO_LOAD_METHOD", "No load method provided for resource"},
    {"RES_INVALID", "Unable to load resource or is missing"},
}};
static_assert(kResourceTexts.size() == RES_INVALID + 1);

constexpr std::array<ResultText, 8> kPluginTexts{{
    {"RES_SUCCESS", ""},
    {"RES_LIBRARYNOTFOUND", "Plugin library not found"},
    {"RES_ENTRYPOINTNOTFOUND", "Plugin library has no entry point"},
    {"RES_NOTSUPPORTED", "Dynamic loading not supported"},
    {"RES_PLUGINIDNOTFOUND", "Plugin id not found"},
    {"RES_PLUGINGROUPIDNOTFOUND", "Plugin group id not found"},
    {"RES_PLUGINNAMENOTFOUND", "Plugin name not found"},
    {"RES_PLUGINLIBRARYNOTFOUND", "Plugin has no library associated or library was not found"},
}};
static_assert(kPluginTexts.size() == RES_PLUGINLIBRARYNOTFOUND + 1);

}  // namespace

const ResultText& DescribeResourceResult(ResourceResult result) {
    return DescribeResult(kResourceTexts, result, RES_FAILED_TO_LOAD);
}

const ResultText& DescribePluginResult(PluginResult result) {
    return DescribeResult(kPluginTexts, result, RES_LIBRARYNOTFOUND);
}

}  // namespace Vorn
