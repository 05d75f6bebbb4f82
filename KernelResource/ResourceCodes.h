// Result codes of resources and plug-ins. Numbers, names and texts are fixed: they reach messages
// and callers' tables.
#pragma once

#include "kernel/ResultText.h"

namespace Vorn {

enum ResourceResult : int {
    RES_RESOURCEOK = 0,
    RES_FAILED_TO_LOAD = 1,
    RES_NOT_AVAILABLE = 2,
    RES_LOCK_TIMEOUT = 3,
    RES_LOCK_FAILED = 4,
    RES_PARTIAL_LOAD = 5,
    RES_NO_LOAD_METHOD = 6,
    RES_INVALID = 7,
};

enum PluginResult : int {
    RES_SUCCESS = 0,
    // Loading a library.
    RES_LIBRARYNOTFOUND = 1,
    RES_ENTRYPOINTNOTFOUND = 2,
    RES_NOTSUPPORTED = 3,  // for systems that cannot load libraries
    // Requesting an object.
    RES_PLUGINIDNOTFOUND = 4,
    RES_PLUGINGROUPIDNOTFOUND = 5,
    RES_PLUGINNAMENOTFOUND = 6,
    RES_PLUGINLIBRARYNOTFOUND = 7,
};

// Return the row of a code. A code outside its table reads as RES_FAILED_TO_LOAD or
// RES_LIBRARYNOTFOUND.
[[nodiscard]] const ResultText& DescribeResourceResult(ResourceResult result);
[[nodiscard]] const ResultText& DescribePluginResult(PluginResult result);

}  // namespace Vorn
