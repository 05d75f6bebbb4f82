#include "kernel/StringPool.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "kernel/Allocator.h"
#include "kernel/Exceptions.h"
#include "kernel/LetterCase.h"
#include "kernel/StartUp.h"

namespace Vorn {
namespace {

constinit std::atomic<StringPool*> processPool = nullptr;

std::uint32_t CheckedLength(std::size_t length) {
    if (length > kMaxPooledLength) {
        throw Exception("kernel/StringPool", __LINE__, "Text too long");
    }
    return static_cast<std::uint32_t>(length);
}

void SetLength(StringPoolEntry& entry, std::uint32_t length) {
    entry.length = length;
    entry.Text()[length] = '\0';
}

// Makes an entry with one reference, room for `length` bytes, and the text, which is not longer.
StringPoolEntry* MakeEntry(std::uint32_t length, std::string_view text) {
    const std::uint32_t capacity = EntryCapacity(length);
    void* block = Alloc::New(sizeof(StringPoolEntry) + capacity);
    auto* entry = new (block) StringPoolEntry{.capacity = capacity, .refCount = 1};
    if (!text.empty()) std::memcpy(entry->Text(), text.data(), text.size());
    SetLength(*entry, static_cast<std::uint32_t>(text.size()));
    return entry;
}

}  // namespace

StringPool::~StringPool() {
    for (const Bucket& bucket : buckets_) {
        for (StringPoolEntry* entry = bucket.head; entry;) {
            Alloc::Free(std::exchange(entry, entry->next));
        }
    }
}

InternedString StringPool::Intern(std::string_view text) {
    const std::uint32_t length = CheckedLength(text.size());
    const ScopedLock guard(lock_);
    StringPoolEntry* entry = FindAndPromote(text);
    if (entry) {
        Acquire(*entry);
    } else {
        entry = MakeEntry(length, text);
        Publish(*entry);
    }
    ++statistics_.references;
    return InternedString(entry);
}

void StringPool::Insert(InternedString& handle, std::string_view text, std::size_t position) {
    StringPoolEntry* entry = handle.entry_;
    if (!entry || text.empty() || position > entry->length) return;
    const std::uint32_t length = CheckedLength(std::uint64_t{entry->length} + text.size());
    const std::string inserted(text);  // copied: it may be part of the text that is edited
    const ScopedLock guard(lock_);
    StringPoolEntry* edited = WritableCopy(*entry, length);
    char* gap = edited->Text() + position;
    std::memmove(gap + inserted.size(), gap, edited->length - position);
    std::ranges::copy(inserted, gap);
    SetLength(*edited, length);
    handle.entry_ = Republish(*edited);
}

void StringPool::Erase(InternedString& handle, std::size_t position, std::size_t count) {
    StringPoolEntry* entry = handle.entry_;
    if (!entry || count == 0 || position >= entry->length) return;
    const ScopedLock guard(lock_);
    count = std::min(count, entry->length - position);
    StringPoolEntry* edited = WritableCopy(*entry, entry->length - count);
    char* gap = edited->Text() + position;
    std::memmove(gap, gap + count, edited->length - position - count);
    SetLength(*edited, static_cast<std::uint32_t>(edited->length - count));
    handle.entry_ = Republish(*edited);
}

void StringPool::ToLower(InternedString& handle) {
    if (handle.Length() == 0) return;
    const ScopedLock guard(lock_);
    StringPoolEntry* edited = WritableCopy(*handle.entry_, handle.entry_->length);
    std::transform(edited->Text(), edited->Text() + edited->length, edited->Text(), AsciiToLower);
    handle.entry_ = Republish(*edited);
}

void StringPool::AddRef(StringPoolEntry& entry) {
    const ScopedLock guard(lock_);
    ++entry.refCount;
    ++statistics_.references;
}

void StringPool::Release(StringPoolEntry& entry) {
    const ScopedLock guard(lock_);
    GiveBack(entry);
}

void StringPool::Sweep() {
    const ScopedLock guard(lock_);
    sweepCursor_ = (sweepCursor_ + 1) % kBucketCount;
    for (StringPoolEntry* entry = buckets_[sweepCursor_].tail; entry;) {
        StringPoolEntry* swept = std::exchange(entry, entry->prev);
        if (swept->refCount != 0) continue;
        Withdraw(*swept);
        Alloc::Free(swept);
    }
}

StringPool::Statistics StringPool::GetStatistics() {
    const ScopedLock guard(lock_);
    Statistics statistics = statistics_;
    statistics.entries = index_.Size();
    return statistics;
}

std::uint32_t StringPool::ReferenceCount(const InternedString& handle) {
    const ScopedLock guard(lock_);
    return handle.entry_ ? handle.entry_->refCount : 0;
}

std::uint32_t StringPool::BucketOf(std::string_view text) noexcept {
    if (text.size() > 16) text.remove_prefix(text.size() - 16);
    std::uint32_t h = 0;
    for (const char c : text) h = (h * 8) ^ static_cast<unsigned char>(c);
    return h % kBucketCount;
}

StringPoolEntry* StringPool::FindAndPromote(std::string_view text) {
    StringPoolEntry* entry = index_.Find(text, statistics_.chainSteps);
    if (!entry) return nullptr;
    if (entry->prev) {
        UnlinkFromBucket(*entry);
        LinkAtHead(*entry);
    }
    ++statistics_.hits;
    return entry;
}

void StringPool::LinkAtHead(StringPoolEntry& entry) {
    Bucket& bucket = buckets_[BucketOf(entry.View())];
    entry.prev = nullptr;
    entry.next = std::exchange(bucket.head, &entry);
    (entry.next ? entry.next->prev : bucket.tail) = &entry;
    ++bucket.count;
}

void StringPool::UnlinkFromBucket(StringPoolEntry& entry) {
    Bucket& bucket = buckets_[BucketOf(entry.View())];
    (entry.prev ? entry.prev->next : bucket.head) = entry.next;
    (entry.next ? entry.next->prev : bucket.tail) = entry.prev;
    --bucket.count;
}

// Makes a new entry findable; it has its first reference.
void StringPool::Publish(StringPoolEntry& entry) {
    index_.Add(entry);
    LinkAtHead(entry);
    ++statistics_.created;
    ++statistics_.liveEntries;
}

void StringPool::Withdraw(StringPoolEntry& entry) {
    index_.Remove(entry);
    UnlinkFromBucket(entry);
}

void StringPool::Acquire(StringPoolEntry& entry) {
    if (entry.refCount == 0) ++statistics_.liveEntries;
    ++entry.refCount;
}

void StringPool::GiveBack(StringPoolEntry& entry) {
    if (entry.refCount == 1) --statistics_.liveEntries;
    --statistics_.references;
    --entry.refCount;
}

// Returns an entry that no lookup finds, with the text of `entry` and room for `newLength` bytes:
// `entry` itself if the caller is its only holder and it has the room. Consumes the caller's
// reference.
StringPoolEntry* StringPool::WritableCopy(StringPoolEntry& entry, std::size_t newLength) {
    const auto length = static_cast<std::uint32_t>(newLength);
    if (entry.refCount <= 1 && entry.capacity >= EntryCapacity(length)) {
        Withdraw(entry);
        --statistics_.references;
        --statistics_.liveEntries;
        return &entry;
    }
    StringPoolEntry* copy = MakeEntry(std::max(length, entry.length), entry.View());
    GiveBack(entry);
    return copy;
}

// Returns the entry of the edited text, with one reference for the caller. `edited` itself is freed
// if the pool already has that text.
StringPoolEntry* StringPool::Republish(StringPoolEntry& edited) {
    ++statistics_.references;
    StringPoolEntry* existing = FindAndPromote(edited.View());
    if (!existing) {
        Publish(edited);
        return &edited;
    }
    Acquire(*existing);
    Alloc::Free(&edited);
    return existing;
}

StringPool& GetStringPool() {
    if (StringPool* pool = FindStringPool()) return *pool;
    // Registers the pool's end before the constructor of any static object that interns has
    // finished, so that such an object is destroyed while the pool still exists.
    EarlyInitialise();
    if (StringPool* pool = FindStringPool()) return *pool;
    alignas(StringPool) static std::array<std::byte, sizeof(StringPool)> storage;
    auto* created = new (storage.data()) StringPool;
    processPool.store(created, std::memory_order_release);
    return *created;
}

StringPool* FindStringPool() noexcept { return processPool.load(std::memory_order_acquire); }

void DestroyStringPool() {
    if (StringPool* pool = processPool.exchange(nullptr)) std::destroy_at(pool);
}

}  // namespace Vorn
