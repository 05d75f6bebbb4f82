// The states of resources, and the result codes of resources and plug-ins.
#pragma once

#include <cstdint>

#include "kernel/ResultText.h"

namespace Vorn {

// The numbers are those of the table of names.
enum class ResourceState : std::uint32_t {
    None = 0,       // made for a database, which has not taken it in yet
    Ready = 1,      // not loaded
    Cached = 2,     // the load queue's worker has it
    Loading = 3,    // a load is running
    Loaded = 4,     // its file was read; the finishing stage is pending
    Locking = 5,    // no resource here; it keeps the numbers
    Available = 6,  // loaded and usable
    Inactive = 7,   // loaded, and held by the bin because nobody references it
    Invalid = 8,    // its load failed, or there is no such resource
    Delete = 9,     // the bin is destroying it
};

[[nodiscard]] const char* NameOf(ResourceState state);

// The numbers reach messages and callers' tables.
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

// The row of a code; a code outside the table reads as RES_FAILED_TO_LOAD.
[[nodiscard]] const ResultText& DescribeResourceResult(ResourceResult result);

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
