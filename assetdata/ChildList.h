// The ordered (name, child) pairs of a container, found by name, by child and by position.
//
// Pairs keep their order; equal names and equal children are allowed, and the first counts. Lists
// of more than a few pairs are indexed at the first lookup that needs it, which several threads may
// do at once; a change needs the list alone. Copies no names.
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
    // Null past the end.
    [[nodiscard]] const Pair* At(std::uint32_t index) const;
    // The first pair of that name, or null.
    [[nodiscard]] const Pair* Find(const InternedString& name) const;
    [[nodiscard]] bool Holds(const OCSChunk* child);

    void Add(const InternedString& name, const OCSChunkRef& child);
    // Each acts on the first pair that holds the child; false when there is none.
    bool Remove(const OCSChunk* child);
    bool Replace(const OCSChunk* child, const OCSChunkRef& by);
    bool Swap(const OCSChunkRef& a, const OCSChunkRef& b);
    void Clear();

private:
    // What a long list needs from its first change on.
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

    std::vector<Pair> pairs_;  // those of removed positions hold nothing
    mutable std::atomic<PositionIndex*> byName_ = nullptr;
    std::unique_ptr<Editing> editing_;
};

}  // namespace Vorn
