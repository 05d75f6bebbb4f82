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
    // Starts before the first child of `root`, which must not change and must outlive the walk.
    explicit TagWalk(const OCSChunk& root);

    // Moves into the container that was entered last, to the next child, or out of a container.
    // Returns false after the last of the root's children.
    bool Next();

    [[nodiscard]] bool IsLeaving() const { return leaving_; }
    [[nodiscard]] const OCSChunk& Tag() const { return *tag_.child; }
    // Returns the tag's name: null data() for no name, empty when leaving.
    [[nodiscard]] std::string_view Name() const { return tag_.name; }
    // Returns the tag's position among the children of its container.
    [[nodiscard]] std::uint32_t Index() const { return frames_.back().next - 1; }
    // Returns the number of containers around the tag, without the root.
    [[nodiscard]] std::size_t Depth() const { return frames_.size() - 1; }

    // Returns the last names on the way to the tag, joined by '/', for messages.
    [[nodiscard]] std::string Path() const;

private:
    // A container that has been entered.
    struct Frame {
        OCSChunkRef container;  // null for the root
        std::uint32_t next;     // index of the next child
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
