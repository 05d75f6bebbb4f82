#include "assetdata/TagWalk.h"

#include <algorithm>
#include <utility>

#include "assetdata/ChunkBody.h"

namespace Vorn {
namespace {

constexpr std::size_t kMostPathNames = 8;

}  // namespace

TagWalk::TagWalk(const OCSChunk& root) : root_(root) { frames_.push_back({{}, 0}); }

bool TagWalk::Next() {
    if (tag_.child && !leaving_ && tag_.child->GetType() == kTagContainer) {
        frames_.push_back({std::move(tag_.child), 0});
    }
    Frame& frame = frames_.back();
    tag_ = ContainerOf(frame).ChildAt(frame.next);
    leaving_ = !tag_.child;
    if (!leaving_) {
        ++frame.next;
        return true;
    }
    if (frames_.size() == 1) return false;
    tag_.child = std::move(frame.container);
    frames_.pop_back();
    return true;
}

std::string TagWalk::Path() const {
    const std::size_t first = frames_.size() - std::min(frames_.size(), kMostPathNames);
    std::string path = first > 0 ? ".../" : "";
    for (std::size_t i = first; i < frames_.size(); ++i) {
        if (i > first) path += '/';
        path += Printable(ContainerOf(frames_[i]).ChildAt(frames_[i].next - 1).name);
    }
    return path;
}

TagFinding FindingAt(TagFault fault, const TagWalk& walk) {
    const std::uint64_t offset = ChunkFileOffset(walk.Tag()).value_or(0);
    return {fault, {offset}, walk.Path(), &walk.Tag()};
}

}  // namespace Vorn
