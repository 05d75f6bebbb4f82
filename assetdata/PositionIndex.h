// Finds the first entry of a list that has a key, also after entries were removed.
//
// The caller keeps the list; the index stores positions and the hashes of keys. `same(position)`
// returns whether the entry at a position has the wanted key; it is called only for positions in
// the index. Entries of one key are linked in ascending order, so First takes one hash lookup
// however many equal keys there are. First may run on many threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vorn {

class PositionIndex {
public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    // Reserves room for about `expected` entries.
    explicit PositionIndex(std::size_t expected) {
        links_.reserve(expected);
        slots_.resize(SlotsFor(expected));
    }

    template <typename Same>
    [[nodiscard]] std::uint32_t First(std::uint64_t hash, const Same& same) const {
        return slots_[SlotOf(Mark(hash), same)].first;
    }

    template <typename Same>
    void Add(std::uint64_t hash, std::uint32_t position, const Same& same) {
        if ((used_ + 1) * 2 > slots_.size()) Grow();
        if (links_.size() <= position) links_.resize(position + std::size_t{1});
        Slot& slot = slots_[SlotOf(Mark(hash), same)];
        if (slot.first == kNone) {
            used_ += slot.mark == 0 ? 1 : 0;
            slot = {Mark(hash), position};
            links_[position] = {position, position};
        } else {
            LinkBehindLower(slot, position);
        }
    }

    // Removes an entry, which must be in the index.
    template <typename Same>
    void Remove(std::uint64_t hash, std::uint32_t position, const Same& same) {
        Slot& slot = slots_[SlotOf(Mark(hash), same)];
        const Link link = links_[position];
        links_[link.next].previous = link.previous;
        links_[link.previous].next = link.next;
        if (slot.first == position) slot.first = link.next == position ? kNone : link.next;
    }

private:
    // The entries of one key. A slot whose entries were all removed keeps its mark, so that probes
    // still reach the keys placed after it.
    struct Slot {
        std::uint32_t mark = 0;  // 0 for a slot that was never used
        std::uint32_t first = kNone;
    };
    // A ring: the first entry's previous one is the last.
    struct Link {
        std::uint32_t next = kNone;
        std::uint32_t previous = kNone;
    };

    static std::size_t SlotsFor(std::size_t entries) {
        std::size_t slots = 16;
        while (slots < entries * 2) slots *= 2;
        return slots;
    }
    static std::uint32_t Mark(std::uint64_t hash) {
        return static_cast<std::uint32_t>(hash ^ hash >> 32) | 1;
    }

    // Returns the slot of the key, or the one where it would go.
    template <typename Same>
    [[nodiscard]] std::size_t SlotOf(std::uint32_t mark, const Same& same) const {
        std::size_t free = kNone;
        for (std::size_t i = mark >> 1;; ++i) {
            const std::size_t at = i & (slots_.size() - 1);
            const Slot& slot = slots_[at];
            if (slot.first == kNone) {
                if (free == kNone) free = at;
                if (slot.mark == 0) return free;
            } else if (slot.mark == mark && same(slot.first)) {
                return at;
            }
        }
    }

    void LinkBehindLower(Slot& slot, std::uint32_t position) {
        std::uint32_t lower = links_[slot.first].previous;
        while (lower > position && lower != slot.first) lower = links_[lower].previous;
        if (lower > position) {
            lower = links_[lower].previous;  // below all of them: insert after the last
        }
        const std::uint32_t next = links_[lower].next;
        links_[position] = {next, lower};
        links_[lower].next = position;
        links_[next].previous = position;
        if (position < slot.first) slot.first = position;
    }

    void Grow() {
        std::size_t kept = 0;
        for (const Slot& slot : slots_) kept += slot.first != kNone ? 1 : 0;
        std::vector<Slot> slots(SlotsFor((kept + 1) * 2));
        for (const Slot& slot : slots_) {
            if (slot.first == kNone) continue;
            std::size_t at = slot.mark >> 1;
            while (slots[at & (slots.size() - 1)].mark != 0) ++at;
            slots[at & (slots.size() - 1)] = slot;
        }
        slots_.swap(slots);
        used_ = kept;
    }

    std::vector<Slot> slots_;  // a power of two, at most half of them used
    std::vector<Link> links_;  // by position
    std::size_t used_ = 0;
};

}  // namespace Vorn
