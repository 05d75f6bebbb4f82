// Result codes of loading plug-in libraries and of looking plug-ins up.
#pragma once

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

struct PluginResultText {
    const char* name;  // "RES_SUCCESS"
    const char* text;  // for messages; empty for success
};

[[nodiscard]] const PluginResultText& DescribePluginResult(PluginResult result);

}  // namespace Vorn
