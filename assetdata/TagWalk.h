// Visits a tag tree depth first, in order, without recursion.
//
//     for (TagWalk walk(root); walk.Next();) {
//         if (walk.IsLeaving()) ... the container walk.Tag() has been visited
//         else ... walk.Name(), walk.Tag()
//     }
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "assetdata/OCSChunk.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

class TagWalk {
public:
    // Begins before the first child of `root`, which must stay as it is and outlive the walk.
    explicit TagWalk(const OCSChunk& root);

    // Goes on: into the container that was entered last, to the next child, or out of a container.
    // False when the root's children have all been visited.
    bool Next();

    [[nodiscard]] bool IsLeaving() const { return leaving_; }
    [[nodiscard]] const OCSChunk& Tag() const { return *tag_.child; }
    // Null data() for no name. Empty when leaving.
    [[nodiscard]] std::string_view Name() const { return tag_.name; }
    // Of the tag among the children of its container.
    [[nodiscard]] std::uint32_t Index() const { return frames_.back().next - 1; }
    // Containers around the tag, the root not counted.
    [[nodiscard]] std::size_t Depth() const { return frames_.size() - 1; }

    // The last names on the way to the tag, joined by '/', for messages.
    [[nodiscard]] std::string Path() const;

private:
    // A container that has been entered.
    struct Frame {
        OCSChunkRef container;  // null for the root
        std::uint32_t next;     // index of the child that comes next
    };
    [[nodiscard]] const OCSChunk& ContainerOf(const Frame& frame) const {
        return frame.container ? *frame.container : root_;
    }

    const OCSChunk& root_;
    std::deque<Frame> frames_;  // outermost first
    NamedChild tag_;
    bool leaving_ = false;
};

// Returns a finding about the tag that the walk has entered, with its path, and with its offset if
// a chunk file holds it.
[[nodiscard]] TagFinding FindingAt(TagFault fault, const TagWalk& walk);

}  // namespace Vorn
