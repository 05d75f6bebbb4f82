#include "KernelResource/ResourceCodes.h"

#include <array>
#include <cstddef>

namespace Vorn {
namespace {

constexpr std::array<const char*, 10> kStateNames = {
    "None",    "Ready",     "Cached",   "Loading", "Loaded",
    "Locking", "Available", "Inactive", "Invalid", "Delete",
};
static_assert(kStateNames.size() == static_cast<std::size_t>(ResourceState::Delete) + 1);

constexpr std::array<ResultText, 8> kResultTexts{{
    {"RES_RESOURCEOK", ""},
    {"RES_FAILED_TO_LOAD", "Failed to load resource"},
    {"RES_NOT_AVAILABLE", "Resource not available"},
    {"RES_LOCK_TIMEOUT", "Lock timed out"},
    {"RES_LOCK_FAILED", "Failed to lock resource"},
    {"RES_PARTIAL_LOAD", "Resource is partially loaded"},
    {"RES_NO_LOAD_METHOD", "No load method provided for resource"},
    {"RES_INVALID", "Unable to load resource or is missing"},
}};
static_assert(kResultTexts.size() == RES_INVALID + 1);

}  // namespace

const char* NameOf(ResourceState state) { return kStateNames[static_cast<std::size_t>(state)]; }

const ResultText& DescribeResourceResult(ResourceResult result) {
    return DescribeResult(kResultTexts, result, RES_FAILED_TO_LOAD);
}

}  // namespace Vorn
