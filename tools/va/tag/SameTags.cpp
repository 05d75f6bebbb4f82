#include "tools/va/tag/SameTags.h"

#include <algorithm>

#include "assetdata/TagWalk.h"

namespace va::tool {

bool SameTags(const Vorn::OCSChunk& a, const Vorn::OCSChunk& b) {
    Vorn::TagWalk walkA(a);
    Vorn::TagWalk walkB(b);
    while (walkA.Next()) {
        if (!walkB.Next() || walkA.IsLeaving() != walkB.IsLeaving()) return false;
        if (walkA.IsLeaving()) continue;
        const bool isSame = walkA.Name() == walkB.Name() &&
                            walkA.Tag().GetType() == walkB.Tag().GetType() &&
                            std::ranges::equal(walkA.Tag().DataBytes(), walkB.Tag().DataBytes());
        if (!isSame) return false;
    }
    return !walkB.Next();
}

}  // namespace va::tool
