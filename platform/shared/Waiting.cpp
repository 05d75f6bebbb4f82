#include <algorithm>
#include <chrono>
#include <map>
#include <string>

#include "platform/Threads.h"
#include "platform/shared/WaitGate.h"

namespace platform {
namespace shared {

WaitGate& TheWaitGate() {
    static WaitGate& gate = *std::make_unique<WaitGate>().release();
    return gate;
}

}  // namespace shared

namespace {

using shared::TheWaitGate;
using shared::Waiter;
using shared::WaitGate;
using GateLock = std::unique_lock<std::mutex>;

// Keeps a waiter in the gate's list for one wait. Created and destroyed under the gate's lock.
class WaiterEntry {
public:
    WaiterEntry(WaitGate& gate, Waiter& waiter)
        : gate_(gate), place_(gate.waiters.insert(gate.waiters.end(), &waiter)) {}
    ~WaiterEntry() { gate_.waiters.erase(place_); }
    WaiterEntry(const WaiterEntry&) = delete;
    WaiterEntry& operator=(const WaiterEntry&) = delete;

private:
    WaitGate& gate_;
    std::list<Waiter*>::iterator place_;
};

// Releases all threads waiting for `object`, or only the one that has waited longest.
void ReleaseWaiters(WaitGate& gate, const Waitable* object, bool onlyOne) {
    for (Waiter* const waiter : gate.waiters) {
        const auto found = std::find(waiter->objects.begin(), waiter->objects.end(), object);
        if (waiter->pulsed >= 0 || found == waiter->objects.end()) {
            continue;
        }
        waiter->pulsed = static_cast<int>(found - waiter->objects.begin());
        if (onlyOne) {
            return;
        }
    }
}

class SharedEvent final : public Event {
public:
    SharedEvent(bool manualReset, bool set) : manualReset_(manualReset), set_(set) {}

    void Set() override {
        const GateLock lock(TheWaitGate().lock);
        set_ = true;
        TheWaitGate().changed.notify_all();
    }
    void Reset() override {
        const GateLock lock(TheWaitGate().lock);
        set_ = false;
    }
    void Pulse() override {
        const GateLock lock(TheWaitGate().lock);
        ReleaseWaiters(TheWaitGate(), this, !manualReset_);
        set_ = false;
        TheWaitGate().changed.notify_all();
    }

private:
    bool TryTake() override {
        const bool taken = set_;
        set_ = set_ && manualReset_;
        return taken;
    }

    const bool manualReset_;
    bool set_;
};

class SharedSemaphore final : public Semaphore {
public:
    SharedSemaphore(int initial, int maximum) : count_(initial), maximum_(maximum) {}

    bool Release(int units) override {
        const GateLock lock(TheWaitGate().lock);
        if (units < 1 || units > maximum_ - count_) {
            return false;
        }
        count_ += units;
        TheWaitGate().changed.notify_all();
        return true;
    }

private:
    bool TryTake() override {
        if (count_ <= 0) {
            return false;
        }
        --count_;
        return true;
    }

    int count_;
    const int maximum_;
};

// Guarded by the gate's lock.
struct MutexOwner {
    bool ended = false;
};

// Identifies the calling thread to its mutexes. Not its number: the system reuses that after the
// thread ends.
class ThisMutexOwner {
public:
    ThisMutexOwner() = default;
    ThisMutexOwner(const ThisMutexOwner&) = delete;
    ThisMutexOwner& operator=(const ThisMutexOwner&) = delete;
    ~ThisMutexOwner() { End(); }

    [[nodiscard]] bool Is(const std::shared_ptr<MutexOwner>& owner) const {
        return owner && owner == owner_;
    }
    [[nodiscard]] const std::shared_ptr<MutexOwner>& Get() {
        if (!owner_) owner_ = std::make_shared<MutexOwner>();
        return owner_;
    }
    void End() {
        if (!owner_) return;
        const GateLock lock(TheWaitGate().lock);
        owner_->ended = true;
        owner_.reset();
        TheWaitGate().changed.notify_all();
    }

private:
    std::shared_ptr<MutexOwner> owner_;
};
thread_local ThisMutexOwner thisOwner;

class SharedMutex final : public Mutex {
public:
    explicit SharedMutex(bool owned) {
        if (owned) TakeNew();
    }

    bool Release() override {
        const GateLock lock(TheWaitGate().lock);
        if (count_ == 0 || !thisOwner.Is(owner_)) {
            return false;
        }
        if (--count_ == 0) {
            TheWaitGate().changed.notify_all();
        }
        return true;
    }

private:
    bool TryTake() override {
        if (count_ == 0 || owner_->ended) {
            TakeNew();
            return true;
        }
        if (!thisOwner.Is(owner_)) {
            return false;
        }
        ++count_;
        return true;
    }

    void TakeNew() {
        owner_ = thisOwner.Get();
        count_ = 1;
    }

    std::uint64_t count_ = 0;            // how often the owner took it
    std::shared_ptr<MutexOwner> owner_;  // not null after the first time
};

// Returns the open object named `name`, or a new one made from `arguments` under that name.
template <class Object, class... Arguments>
std::shared_ptr<Object> OpenOrCreate(const char* name, Arguments... arguments) {
    if (!name || *name == '\0') {
        return std::make_shared<Object>(arguments...);
    }
    // Guarded by the gate's lock, and like the gate never destroyed.
    static auto& named =
        *std::make_unique<std::map<std::string, std::weak_ptr<Object>>>().release();
    const GateLock lock(TheWaitGate().lock);
    std::erase_if(named, [](const auto& entry) { return entry.second.expired(); });
    auto& entry = named[name];
    auto object = entry.lock();
    if (!object) {
        entry = object = std::make_shared<Object>(arguments...);
    }
    return object;
}

}  // namespace

void shared::AbandonMutexes() { thisOwner.End(); }

int WaitForAny(std::span<Waitable* const> objects, int milliseconds) {
    WaitGate& gate = TheWaitGate();
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    GateLock lock(gate.lock);
    Waiter waiter{.objects = objects};
    const WaiterEntry entry(gate, waiter);
    bool inTime = true;
    while (true) {
        if (waiter.pulsed >= 0) {
            return waiter.pulsed;
        }
        const auto taken = std::find_if(objects.begin(), objects.end(),
                                        [](Waitable* object) { return object->TryTake(); });
        if (taken != objects.end()) {
            return static_cast<int>(taken - objects.begin());
        }
        if (milliseconds == 0 || !inTime) {
            return -1;
        }
        if (milliseconds < 0) {
            gate.changed.wait(lock);
        } else {
            inTime = gate.changed.wait_until(lock, deadline) == std::cv_status::no_timeout;
        }
    }
}

bool Waitable::Wait(int milliseconds) {
    Waitable* const self = this;
    return WaitForAny(std::span(&self, 1), milliseconds) == 0;
}

std::shared_ptr<Event> MakeEvent(bool manualReset, bool initiallySet, const char* name) {
    return OpenOrCreate<SharedEvent>(name, manualReset, initiallySet);
}

std::shared_ptr<Semaphore> MakeSemaphore(int initial, int maximum, const char* name) {
    return OpenOrCreate<SharedSemaphore>(name, initial, maximum);
}

std::shared_ptr<Mutex> MakeMutex(bool initiallyOwned, const char* name) {
    return OpenOrCreate<SharedMutex>(name, initiallyOwned);
}

}  // namespace platform
