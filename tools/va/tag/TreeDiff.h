// Compares two trees of tags by their paths.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "assetdata/OCSChunk.h"

namespace va::tool {

struct TagDifference {
    enum class Kind {
        Added,      // only in B
        Removed,    // only in A; the tags in a removed container are not reported
        Changed,    // another type or value
        Reordered,  // a container whose children are in another order
    };
    Kind kind;
    std::string path;         // in A, or for an added tag in B; empty for the root
    const Vorn::OCSChunk* a;  // null for an added tag
    const Vorn::OCSChunk* b;  // null for a removed one
};

// Calls `report` for each difference in the order of A; tags that a container of B adds come after
// the container's other tags. Among equal names in a container the first is compared with the
// first, and so on. With `folded`, names are compared as texts write them. Does not recurse.
// Returns the number of equal tags.
std::size_t DiffTags(const Vorn::OCSChunkRef& a, const Vorn::OCSChunkRef& b, bool folded,
                     const std::function<void(const TagDifference&)>& report);

}  // namespace va::tool
