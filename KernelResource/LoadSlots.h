// Keeps track of which thread loads which resource: at most eight loads at a time, each resource by
// one thread.
//
// A thread that wants a resource which another thread is loading waits for the end of that load. A
// nested load reuses its thread's place: the outer load is suspended meanwhile, and waiting for
// another place could deadlock. A wait that would close a ring (each of two loads needs the other's
// resource) is refused for the same reason.
//
// Threads: any. The thread that began a claim ends it.
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
    // The right to load one resource, until it goes out of scope. May be empty.
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

    // Waits for another thread's load of the resource, then for a place. Returns an empty claim if
    // the wait would never end.
    [[nodiscard]] Claim Begin(const Resource& resource);
    // Does not wait: returns an empty claim if the resource is being loaded or no place is free.
    [[nodiscard]] Claim TryBegin(const Resource& resource);

    // Returns whether the calling thread is inside a load.
    [[nodiscard]] bool IsCallerLoading();

private:
    using ThreadId = std::uint32_t;

    struct Slot {
        const Resource* resource = nullptr;
        bool busy = false;
        WEvent ended{true, false, nullptr};  // set while not busy
        bool hasPlace = false;  // took a unit of the semaphore, which a nested load does not
        ThreadId owner = 0;
        int waiting = 0;  // threads that have yet to see the end; until then the slot is not reused
    };

    enum class OtherLoad { None, Ended, WouldNeverEnd };
    // Waits for a load of the resource that another thread runs.
    [[nodiscard]] OtherLoad AwaitOtherLoad(const Resource& resource);
    // Returns an empty claim if a load of the resource has begun meanwhile.
    [[nodiscard]] Claim Occupy(const Resource& resource, bool hasPlace);
    [[nodiscard]] Slot* FindBusy(const Resource& resource) VORN_REQUIRES(lock_);
    [[nodiscard]] Slot& FindFree() VORN_REQUIRES(lock_);
    // Returns whether the load in `slot` waits, directly or not, for a load of the caller.
    [[nodiscard]] bool ClosesRing(const Slot& slot, ThreadId caller) const VORN_REQUIRES(lock_);
    void End(Slot& slot);

    CriticalSection lock_{"LoadSlots"};
    Semaphore places_;
    std::deque<Slot> slots_ VORN_GUARDED_BY(lock_);  // grows with loads inside loads
    std::map<ThreadId, const Slot*> waits_ VORN_GUARDED_BY(lock_);
};

}  // namespace Vorn
