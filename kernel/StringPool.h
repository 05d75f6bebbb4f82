// The process's one store of interned texts; names are held through InternedString.
//
// Entries without references can still be found until Sweep reaches their bucket. Lookups go
// through StringPoolIndex; the 997 buckets keep the order in which Sweep walks: newest and most
// recently found at the head.
//
// Threads: every operation holds the pool's lock for its whole duration, and takes no other kernel
// lock inside it except the allocator's.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kernel/InternedString.h"
#include "kernel/StringPoolEntry.h"
#include "kernel/StringPoolIndex.h"
#include "kernel/SyncObject.h"

namespace Vorn {

class StringPool {
public:
    static constexpr std::uint32_t kBucketCount = 997;

    struct Statistics {
        std::uint64_t liveEntries = 0;  // entries with references
        std::uint64_t references = 0;
        std::uint64_t hits = 0;     // lookups that found their text
        std::uint64_t created = 0;  // entries ever created
        // Entries with another text that lookups passed in the index's slots.
        std::uint64_t chainSteps = 0;
        std::uint64_t entries = 0;  // in the pool now, with or without references
    };

    StringPool() = default;
    StringPool(const StringPool&) = delete;
    StringPool& operator=(const StringPool&) = delete;
    // Frees every entry, also those with references.
    ~StringPool();

    // Throws Exception for a text of 4 GiB, std::bad_alloc when memory is exhausted; the pool is
    // unchanged then.
    [[nodiscard]] InternedString Intern(std::string_view text);

    // Edit the handle's text; it then holds one reference to the entry of the edited text. If the
    // handle was the only one of its entry, the entry is edited in place where its block has room.
    void Insert(InternedString& handle, std::string_view text, std::size_t position);
    void Erase(InternedString& handle, std::size_t position, std::size_t count);
    void ToLower(InternedString& handle);

    void AddRef(StringPoolEntry& entry);
    void Release(StringPoolEntry& entry);

    // Frees the entries without references of the next bucket, wrapping after the last; the first
    // call cleans bucket 1.
    void Sweep();

    [[nodiscard]] Statistics GetStatistics();
    [[nodiscard]] std::uint32_t ReferenceCount(const InternedString& handle);

    // Returns the bucket of a text, which its last 16 bytes decide.
    [[nodiscard]] static std::uint32_t BucketOf(std::string_view text) noexcept;

private:
    struct Bucket {
        StringPoolEntry* head = nullptr;
        StringPoolEntry* tail = nullptr;
        std::uint32_t count = 0;
    };

    [[nodiscard]] StringPoolEntry* FindAndPromote(std::string_view text) VORN_REQUIRES(lock_);
    void LinkAtHead(StringPoolEntry& entry) VORN_REQUIRES(lock_);
    void UnlinkFromBucket(StringPoolEntry& entry) VORN_REQUIRES(lock_);
    void Publish(StringPoolEntry& entry) VORN_REQUIRES(lock_);
    void Withdraw(StringPoolEntry& entry) VORN_REQUIRES(lock_);
    void Acquire(StringPoolEntry& entry) VORN_REQUIRES(lock_);
    void GiveBack(StringPoolEntry& entry) VORN_REQUIRES(lock_);
    [[nodiscard]] StringPoolEntry* WritableCopy(StringPoolEntry& entry, std::size_t newLength)
        VORN_REQUIRES(lock_);
    [[nodiscard]] StringPoolEntry* Republish(StringPoolEntry& edited) VORN_REQUIRES(lock_);

    CriticalSection lock_{"StringPool"};
    std::array<Bucket, kBucketCount> buckets_ VORN_GUARDED_BY(lock_);
    StringPoolIndex index_ VORN_GUARDED_BY(lock_);
    Statistics statistics_ VORN_GUARDED_BY(lock_);
    std::uint32_t sweepCursor_ VORN_GUARDED_BY(lock_) = 0;
};

// Returns the pool. The first call creates it, after the kernel's early initialisation.
[[nodiscard]] StringPool& GetStringPool();

// Returns the pool, or null before its first use and after the teardown.
[[nodiscard]] StringPool* FindStringPool() noexcept;

// Destroys the pool, as the last teardown function. Handles destroyed later do nothing.
void DestroyStringPool();

}  // namespace Vorn
