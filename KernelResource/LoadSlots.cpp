#include "KernelResource/LoadSlots.h"

#include <algorithm>

#include "platform/Threads.h"

namespace Vorn {

LoadSlots::LoadSlots() : places_(platform::MakeSemaphore(kMost, kMost, nullptr)), slots_(kMost) {}

LoadSlots::Claim LoadSlots::Begin(const Resource& resource) {
    for (;;) {
        switch (AwaitOtherLoad(resource)) {
            case OtherLoad::WouldNeverEnd:
                return {};
            case OtherLoad::Ended:
                continue;
            case OtherLoad::None:
                break;
        }
        // The place comes before the claim: a resource must not be claimed by a thread that waits.
        const bool needsPlace = !IsCallerLoading();
        if (needsPlace && !places_.Wait(platform::kWaitForever)) return {};
        if (Claim claim = Occupy(resource, needsPlace)) return claim;
        if (needsPlace) places_.Unlock();  // another thread has claimed it while we waited
    }
}

LoadSlots::Claim LoadSlots::TryBegin(const Resource& resource) {
    const bool needsPlace = !IsCallerLoading();
    if (needsPlace && !places_.Wait(0)) return {};
    Claim claim = Occupy(resource, needsPlace);
    if (!claim && needsPlace) places_.Unlock();
    return claim;
}

bool LoadSlots::IsCallerLoading() {
    const ScopedLock hold(lock_);
    const ThreadId caller = platform::CurrentThreadId();
    return std::ranges::any_of(
        slots_, [caller](const Slot& slot) { return slot.busy && slot.owner == caller; });
}

LoadSlots::OtherLoad LoadSlots::AwaitOtherLoad(const Resource& resource) {
    const ThreadId caller = platform::CurrentThreadId();
    Slot* slot = nullptr;
    {
        const ScopedLock hold(lock_);
        slot = FindBusy(resource);
        if (!slot) return OtherLoad::None;
        if (ClosesRing(*slot, caller)) return OtherLoad::WouldNeverEnd;
        ++slot->waiting;
        waits_[caller] = slot;
    }
    (void)slot->ended.Wait(platform::kWaitForever);
    const ScopedLock hold(lock_);
    --slot->waiting;
    waits_.erase(caller);
    return OtherLoad::Ended;
}

LoadSlots::Claim LoadSlots::Occupy(const Resource& resource, bool hasPlace) {
    const ScopedLock hold(lock_);
    if (FindBusy(resource)) return {};
    Slot& slot = FindFree();
    slot.resource = &resource;
    slot.busy = true;
    slot.hasPlace = hasPlace;
    slot.owner = platform::CurrentThreadId();
    slot.ended.Reset();
    return {*this, slot};
}

LoadSlots::Slot* LoadSlots::FindBusy(const Resource& resource) {
    const auto slot = std::ranges::find_if(
        slots_, [&](const Slot& s) { return s.busy && s.resource == &resource; });
    return slot == slots_.end() ? nullptr : &*slot;
}

LoadSlots::Slot& LoadSlots::FindFree() {
    const auto slot =
        std::ranges::find_if(slots_, [](const Slot& s) { return !s.busy && s.waiting == 0; });
    return slot == slots_.end() ? slots_.emplace_back() : *slot;
}

// Every thread waits for at most one load, so following the waits either ends or leads back to the
// caller.
bool LoadSlots::ClosesRing(const Slot& slot, ThreadId caller) const {
    for (const Slot* next = &slot; next->busy;) {
        if (next->owner == caller) return true;
        const auto wait = waits_.find(next->owner);
        if (wait == waits_.end()) return false;
        next = wait->second;
    }
    return false;
}

void LoadSlots::End(Slot& slot) {
    bool hadPlace = false;
    {
        const ScopedLock hold(lock_);
        slot.busy = false;
        slot.resource = nullptr;
        hadPlace = slot.hasPlace;
        slot.ended.Set();
    }
    if (hadPlace) places_.Unlock();  // outside of the lock that a woken thread takes next
}

}  // namespace Vorn
