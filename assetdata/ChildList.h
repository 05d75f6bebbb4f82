// The ordered (name, child) pairs of a container, found by name, by child and by position.
//
// Pairs keep their order. Names and children may repeat; lookups return the first. Lists of more
// than a few pairs are indexed at the first lookup that needs it. Several threads may look up at
// once; a change needs exclusive access. Names are not copied.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "assetdata/LivePositions.h"
#include "assetdata/OCSChunk.h"
#include "assetdata/PositionIndex.h"
#include "kernel/InternedString.h"

namespace Vorn {

class ChildList {
public:
    struct Pair {
        InternedString name;
        OCSChunkRef child;
    };

    ChildList() = default;
    ~ChildList() { Clear(); }
    ChildList(const ChildList&) = delete;
    ChildList& operator=(const ChildList&) = delete;

    [[nodiscard]] std::uint32_t Count() const;
    // Returns null past the end.
    [[nodiscard]] const Pair* At(std::uint32_t index) const;
    // Returns the first pair of that name, or null.
    [[nodiscard]] const Pair* Find(const InternedString& name) const;
    [[nodiscard]] bool Holds(const OCSChunk* child);

    void Add(const InternedString& name, const OCSChunkRef& child);
    // Change the first pair that holds the child. Return false if no pair does.
    bool Remove(const OCSChunk* child);
    bool Replace(const OCSChunk* child, const OCSChunkRef& by);
    bool Swap(const OCSChunkRef& a, const OCSChunkRef& b);
    void Clear();

private:
    // Indexes that a long list keeps from its first change on.
    struct Editing {
        LivePositions live;
        PositionIndex byChild;
    };

    [[nodiscard]] bool IsShort() const;
    [[nodiscard]] const PositionIndex& ByName() const;
    void DropIndexes();
    Editing& BeginEditing();
    [[nodiscard]] std::uint32_t PositionOf(const OCSChunk* child);
    void SetChild(std::uint32_t position, const OCSChunkRef& child);
    void RemoveIndexed(std::uint32_t position);
    void Compact();

    std::vector<Pair> pairs_;  // empty at removed positions until Compact
    mutable std::atomic<PositionIndex*> byName_ = nullptr;
    std::unique_ptr<Editing> editing_;
};

}  // namespace Vorn
