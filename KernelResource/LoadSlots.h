// Which resources are being loaded, by which threads: at most eight at a time, each by one thread.
//
// A thread that wants a resource which another one is loading waits for the end of that load. A
// thread that acquires a resource from inside a load goes on under the place that it has: the outer
// load stands still meanwhile, and threads that wait for each other's places would wait for ever.
// For the same reason a wait that would close a ring (each of two resources needs the other) is
// refused.
//
// Threads: any. A claim is ended by the thread that began it.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <utility>

#include "kernel/SyncObject.h"

namespace Vorn {

class Resource;

class LoadSlots {
public:
    static constexpr int kMost = 8;

    LoadSlots();

private:
    struct Slot;

public:
    // The right to load one resource, until it goes out of scope; may be empty.
    class Claim {
    public:
        Claim() = default;
        Claim(Claim&& other) noexcept
            : slots_(std::exchange(other.slots_, nullptr)), slot_(other.slot_) {}
        Claim& operator=(Claim&&) = delete;
        ~Claim() {
            if (slots_) slots_->End(*slot_);
        }
        explicit operator bool() const { return slots_ != nullptr; }

    private:
        friend class LoadSlots;
        Claim(LoadSlots& slots, Slot& slot) : slots_(&slots), slot_(&slot) {}

        LoadSlots* slots_ = nullptr;
        Slot* slot_ = nullptr;
    };

    // Waits for another thread's load of the resource, then for a place. Empty when the wait would
    // never end.
    [[nodiscard]] Claim Begin(const Resource& resource);
    // The same without waiting; empty when the resource is being loaded or there is no place.
    [[nodiscard]] Claim TryBegin(const Resource& resource);

    // Whether the calling thread is inside a load.
    [[nodiscard]] bool IsCallerLoading();

private:
    using ThreadId = std::uint32_t;

    struct Slot {
        const Resource* resource = nullptr;
        bool busy = false;
        WEvent ended{true, false, nullptr};  // set while not busy
        bool hasPlace = false;               // took a unit of the semaphore
        ThreadId owner = 0;
        int waiting = 0;  // threads that have yet to see the end; nobody claims the slot till then
    };

    enum class OtherLoad { None, Ended, WouldNeverEnd };
    // Waits for a load of the resource that another thread runs.
    [[nodiscard]] OtherLoad AwaitOtherLoad(const Resource& resource);
    // Empty when a load of the resource has begun meanwhile.
    [[nodiscard]] Claim Occupy(const Resource& resource, bool hasPlace);
    [[nodiscard]] Slot* FindBusy(const Resource& resource) VORN_REQUIRES(lock_);
    [[nodiscard]] Slot& FindFree() VORN_REQUIRES(lock_);
    // Whether `slot` ends only after something that the caller does.
    [[nodiscard]] bool ClosesRing(const Slot& slot, ThreadId caller) const VORN_REQUIRES(lock_);
    void End(Slot& slot);

    CriticalSection lock_{"LoadSlots"};
    Semaphore places_;
    std::deque<Slot> slots_ VORN_GUARDED_BY(lock_);  // grows with loads inside loads
    std::map<ThreadId, const Slot*> waits_ VORN_GUARDED_BY(lock_);
};

}  // namespace Vorn
