// Result codes of loading plug-in libraries and of looking plug-ins up.
#pragma once

#include "kernel/ResultText.h"

namespace Vorn {

// The numbers reach messages and callers' tables.
enum PluginResult : int {
    RES_SUCCESS = 0,
    // Of a library.
    RES_LIBRARYNOTFOUND = 1,
    RES_ENTRYPOINTNOTFOUND = 2,
    RES_NOTSUPPORTED = 3,  // for systems that cannot load libraries
    // Of a request.
    RES_PLUGINIDNOTFOUND = 4,
    RES_PLUGINGROUPIDNOTFOUND = 5,
    RES_PLUGINNAMENOTFOUND = 6,
    RES_PLUGINLIBRARYNOTFOUND = 7,
};

// The row of a code; a code outside the table reads as RES_LIBRARYNOTFOUND.
[[nodiscard]] const ResultText& DescribePluginResult(PluginResult result);

}  // namespace Vorn
