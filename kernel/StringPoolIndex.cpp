#include "kernel/StringPoolIndex.h"

#include <new>
#include <utility>

namespace Vorn {
namespace {

constexpr std::size_t kInitialSlots = 1024;

}  // namespace

StringPoolIndex::StringPoolIndex() : key_(RandomSipHashKey()), slots_(kInitialSlots) {}

std::uint32_t StringPoolIndex::Hash(std::string_view text) const noexcept {
    return static_cast<std::uint32_t>(SipHash13(key_, text));
}

StringPoolEntry* StringPoolIndex::Find(std::string_view text, std::uint64_t& steps) const noexcept {
    const std::uint32_t hash = Hash(text);
    for (StringPoolEntry* entry = slots_[SlotOf(hash)]; entry; entry = entry->indexNext) {
        if (entry->hash == hash && entry->View() == text) return entry;
        ++steps;
    }
    return nullptr;
}

void StringPoolIndex::Add(StringPoolEntry& entry) noexcept {
    if (size_ == slots_.size()) Grow();
    entry.hash = Hash(entry.View());
    Link(entry);
    ++size_;
}

void StringPoolIndex::Remove(StringPoolEntry& entry) noexcept {
    StringPoolEntry** link = &slots_[SlotOf(entry.hash)];
    while (*link != &entry) link = &(*link)->indexNext;
    *link = std::exchange(entry.indexNext, nullptr);
    --size_;
}

void StringPoolIndex::Link(StringPoolEntry& entry) noexcept {
    StringPoolEntry*& slot = slots_[SlotOf(entry.hash)];
    entry.indexNext = std::exchange(slot, &entry);
}

void StringPoolIndex::Grow() noexcept {
    std::vector<StringPoolEntry*> slots;
    try {
        slots.resize(slots_.size() * 2);
    } catch (const std::bad_alloc&) {
        return;
    }
    slots.swap(slots_);
    for (StringPoolEntry* entry : slots) {
        while (entry) Link(*std::exchange(entry, entry->indexNext));
    }
}

}  // namespace Vorn
