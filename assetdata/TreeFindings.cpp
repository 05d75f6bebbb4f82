#include "assetdata/TreeFindings.h"

#include "assetdata/ChunkBody.h"

namespace Vorn {

TagFinding FindingAt(TagFault fault, const TagWalk& walk) {
    const std::uint64_t offset = ChunkFileOffset(walk.Tag()).value_or(0);
    return {fault, {offset}, walk.Path(), &walk.Tag()};
}

}  // namespace Vorn
