#include "KernelResource/LoadQueue.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "KernelResource/ResourceControl.h"
#include "kernel/String.h"
#include "platform/Processes.h"
#include "platform/Threads.h"

namespace Vorn {
namespace {

using platform::kWaitForever;

// Milliseconds; the round and the names of the mutexes are fixed.
constexpr int kWorkerRound = 1000;
constexpr int kStartRound = 10;

[[nodiscard]] std::shared_ptr<platform::Mutex> CreateQueueMutex(const char* nameFormat) {
    InternedString name;
    FormatInto(name, nameFormat, platform::CurrentProcessId());
    return platform::MakeMutex(false, name.Text());
}

}  // namespace

LoadQueue::LoadQueue(LoadSlots& slots)
    : slots_(slots),
      itemsLock_(CreateQueueMutex("ResourceItems.%08X")),
      accessLock_(CreateQueueMutex("ResourceAccess.%08X")),
      work_(platform::MakeSemaphore(0, std::numeric_limits<std::int32_t>::max(), nullptr)),
      worker_([](void* queue) { return static_cast<LoadQueue*>(queue)->Serve(); }, this, false) {
    items_.reserve(kCapacity);
    // Created suspended and resumed here, when all members that it uses exist.
    worker_.Resume();
    worker_.SetPriority(0);
    // A worker that could not start never sets the event, hence the rounds.
    while (worker_.IsRunning() && !serving_.Wait(kStartRound)) {
    }
}

LoadQueue::~LoadQueue() = default;

bool LoadQueue::Add(Resource& resource) {
    ResourceHolds dropped;
    const ScopedUnlock items(itemsLock_, itemsLock_.Wait(kWaitForever));
    if (!worker_.IsRunning() || items_.size() == kCapacity ||
        !ResourceControl(resource).EnterQueue()) {
        return false;
    }
    items_.emplace_back(&resource);
    HandOver(dropped);
    return true;
}

void LoadQueue::TakeOut(Resource& resource) {
    if (!resource.IsQueued()) return;
    RefPtr<Resource> taken;  // both are declared first, so dropped after the locks
    ResourceHolds dropped;
    const ScopedUnlock items(itemsLock_, itemsLock_.Wait(kWaitForever));
    const std::size_t index = IndexOf(resource);
    if (index == items_.size()) return;
    const bool wasHandedOver = index < handedOver_;
    taken = Remove(index);
    if (!wasHandedOver) return;
    // Fails if a thread that could not wait has begun the load itself.
    (void)ResourceControl(resource).TryMove(ResourceState::Cached, ResourceState::Ready);
    // If the worker has taken the unit already, it finds one item less (LoadNext).
    (void)work_.Wait(0);
    {
        const ScopedUnlock access(accessLock_, accessLock_.Wait(kWaitForever));
        Awaken(&resource);
    }
    HandOver(dropped);
}

void LoadQueue::Await(Resource& resource) {
    if (slots_.IsCallerLoading()) {
        TakeOut(resource);
        return;
    }
    // Woken threads look again: another thread may have queued the resource meanwhile.
    for (;;) {
        std::shared_ptr<WEvent> done;
        {
            const ScopedUnlock items(itemsLock_, itemsLock_.Wait(kWaitForever));
            const ScopedUnlock access(accessLock_, accessLock_.Wait(kWaitForever));
            if (IndexOf(resource) >= handedOver_ && current_ != &resource) return;
            done = std::make_shared<WEvent>(true, false, nullptr);
            waiters_.push_back({&resource, done});
        }
        (void)done->Wait(kWaitForever);
    }
}

void LoadQueue::ForgetRead(const Resource& resource) {
    RefPtr<Resource> forgotten;
    const ScopedLock hold(readLock_);
    const auto place = std::ranges::find(read_, &resource, &RefPtr<Resource>::Get);
    if (place == read_.end()) return;
    forgotten = std::move(*place);
    read_.erase(place);
}

void LoadQueue::Step() {
    ResourceHolds read;  // a copy: finishing calls listeners, which may come back
    {
        const ScopedLock hold(readLock_);
        read = read_;
    }
    for (const RefPtr<Resource>& resource : read) {
        const LoadSlots::Claim claim = slots_.TryBegin(*resource);
        if (!claim || resource->State() != ResourceState::Loaded) continue;
        ForgetRead(*resource);
        (void)ResourceControl(*resource).Finish();
    }
}

std::size_t LoadQueue::Count() {
    const ScopedUnlock items(itemsLock_, itemsLock_.Wait(kWaitForever));
    return items_.size();
}

std::uint32_t LoadQueue::Serve() {
    const std::array<platform::Waitable*, 2> stopAndWork = {worker_.GetHandle(), work_.GetHandle()};
    serving_.Set();
    for (;;) {
        const int signalled = platform::WaitForAny(stopAndWork, kWorkerRound);
        if (signalled == 0) return 0;  // the stop comes before all work
        if (signalled == 1) LoadNext();
    }
}

void LoadQueue::LoadNext() {
    ResourceHolds dropped;
    RefPtr<Resource> next;
    {
        const ScopedUnlock items(itemsLock_, itemsLock_.Wait(kWaitForever));
        if (handedOver_ == 0) return;  // taken back after its unit was counted
        const ScopedUnlock access(accessLock_, accessLock_.Wait(kWaitForever));
        next = Remove(0);
        current_ = next.Get();
        HandOver(dropped);
    }
    Load(*next);
    // Drop our hold before waking waiters: a waiter may be destroying something the resource uses.
    const Resource* const loaded = std::exchange(next, {}).Get();
    const ScopedUnlock access(accessLock_, accessLock_.Wait(kWaitForever));
    current_ = nullptr;
    Awaken(loaded);
}

void LoadQueue::Load(Resource& resource) {
    const LoadSlots::Claim claim = slots_.Begin(resource);
    // Nothing to do if another thread has loaded it while we waited for the claim.
    ResourceControl control(resource);
    if (!claim || !control.TryMove(ResourceState::Cached, ResourceState::Loading)) return;
    if (!control.LoadFromFile()) return;
    const ScopedLock hold(readLock_);
    read_.emplace_back(&resource);
}

void LoadQueue::HandOver(ResourceHolds& dropped) {
    while (handedOver_ < kMostHandedOver && handedOver_ < items_.size()) {
        ResourceControl next(*items_[handedOver_]);
        if (next.TryMove(ResourceState::Ready, ResourceState::Cached)) {
            ++handedOver_;
            work_.Unlock();
        } else {  // loaded by a user, or retired by the bin, in the meantime
            dropped.push_back(Remove(handedOver_));
        }
    }
}

RefPtr<Resource> LoadQueue::Remove(std::size_t index) {
    if (index < handedOver_) --handedOver_;
    RefPtr<Resource> removed = std::move(items_[index]);
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index));
    ResourceControl(*removed).LeaveQueue();
    return removed;
}

std::size_t LoadQueue::IndexOf(const Resource& resource) const {
    const auto place = std::ranges::find(items_, &resource, &RefPtr<Resource>::Get);
    return static_cast<std::size_t>(place - items_.begin());
}

void LoadQueue::Awaken(const Resource* resource) {
    std::erase_if(waiters_, [resource](const Waiter& waiter) {
        if (waiter.resource != resource) return false;
        waiter.done->Set();
        return true;
    });
}

}  // namespace Vorn
