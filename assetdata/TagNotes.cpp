#include "assetdata/TagNotes.h"

#include <string_view>
#include <unordered_set>
#include <vector>

#include "assetdata/TagTextRules.h"
#include "assetdata/TagWalk.h"

namespace Vorn {

void FindTagNotes(const OCSChunk& root, TagObserver& observer) {
    // Names that were met in each container around the tag, outermost first. They live as long as
    // the tree, which does not change.
    std::vector<std::unordered_set<std::string_view>> met(1);
    for (TagWalk walk(root); walk.Next();) {
        if (walk.IsLeaving()) {
            met.pop_back();
            continue;
        }
        const std::string_view name = walk.Name();
        const bool isNamed = name.data() && !LooksLikeComment(name);
        if (isNamed && !met.back().insert(name).second) {
            observer.OnFinding(FindingAt(TagFault::NameTwice, walk));
        }
        if (walk.Tag().GetType() == kTagContainer) met.emplace_back();
    }
}

}  // namespace Vorn
