#include "assetdata/TagWalk.h"

#include <algorithm>
#include <utility>

#include "assetdata/TagObserver.h"

namespace Vorn {
namespace {

constexpr std::size_t kMostPathNames = 8;

}  // namespace

TagWalk::TagWalk(const OCSChunk& root) { Enter(root, {}); }

void TagWalk::Enter(const OCSChunk& container, OCSChunkRef keeper) {
    frames_.push_back({&container, 0, container.ChildCount(), std::move(keeper)});
}

bool TagWalk::Next() {
    if (tag_.child && !leaving_ && tag_.child->GetType() == kTagContainer) {
        const OCSChunk& container = *tag_.child;
        Enter(container, std::move(tag_.child));
    }
    Frame& frame = frames_.back();
    leaving_ = frame.next == frame.count;
    if (!leaving_) {
        tag_ = frame.container->ChildAt(frame.next++);
        return true;
    }
    if (frames_.size() == 1) return false;
    tag_ = {{}, std::move(frame.keeper)};
    frames_.pop_back();
    return true;
}

std::string TagWalk::Path() const {
    const std::size_t first = frames_.size() - std::min(frames_.size(), kMostPathNames);
    std::string path = first > 0 ? ".../" : "";
    for (std::size_t i = first; i < frames_.size(); ++i) {
        if (i > first) path += '/';
        path += Printable(frames_[i].container->ChildAt(frames_[i].next - 1).name);
    }
    return path;
}

}  // namespace Vorn
