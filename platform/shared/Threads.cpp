#include "platform/Threads.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/shared/ThreadTools.h"
#include "platform/shared/WaitGate.h"

namespace platform {
namespace {

using shared::TheWaitGate;
using GateLock = std::unique_lock<std::mutex>;

enum class Order { Suspended, Run, Leave };

// What a thread and its object share; guarded by the gate's lock.
struct ThreadState {
    Order order = Order::Run;
    std::uint32_t threadId = 0;  // 0 until the thread has started
    bool ended = false;
    std::uint32_t exitCode = 0;
};

bool AwaitOrderToRun(ThreadState& state) {
    GateLock lock(TheWaitGate().lock);
    state.threadId = CurrentThreadId();
    TheWaitGate().changed.notify_all();
    TheWaitGate().changed.wait(lock, [&state] { return state.order != Order::Suspended; });
    return state.order == Order::Run;
}

void ThreadBody(ThreadState& state, std::function<std::uint32_t()> function) {
    const std::uint32_t code = AwaitOrderToRun(state) ? function() : 0;
    function = nullptr;  // destroys what it owns before the end is visible
    shared::AbandonMutexes();
    const GateLock lock(TheWaitGate().lock);
    state.exitCode = code;
    state.ended = true;
    TheWaitGate().changed.notify_all();
}

class SystemThread final : public Thread {
public:
    SystemThread(std::function<std::uint32_t()> function, bool suspended)
        : state_(std::make_shared<ThreadState>()) {
        state_->order = suspended ? Order::Suspended : Order::Run;
        thread_ = std::thread([state = state_, function = std::move(function)]() mutable {
            ThreadBody(*state, std::move(function));
        });
    }
    ~SystemThread() override {
        Give(Order::Leave);
        if (thread_.get_id() == std::this_thread::get_id()) {
            thread_.detach();
        } else {
            thread_.join();
        }
    }
    SystemThread(const SystemThread&) = delete;
    SystemThread& operator=(const SystemThread&) = delete;

    bool SetPriority(int priority) override {
        constexpr int kLimit = 15;
        GateLock lock(TheWaitGate().lock);
        TheWaitGate().changed.wait(lock, [this] { return state_->threadId != 0; });
        // The thread cannot end under the lock, so its number cannot belong to another one yet.
        const int level = std::clamp(priority, -kLimit, kLimit);
        const bool set = !state_->ended && shared::SetPriorityOf(state_->threadId, level);
        return set || priority == 0;
    }

    bool Resume() override {
        Give(Order::Run);
        return true;
    }

    bool GetExitCode(std::uint32_t& code) const override {
        const GateLock lock(TheWaitGate().lock);
        if (state_->ended) {
            code = state_->exitCode;
        }
        return state_->ended;
    }

private:
    bool TryTake() override { return state_->ended; }

    void Give(Order order) {
        const GateLock lock(TheWaitGate().lock);
        if (state_->order == Order::Suspended) {
            state_->order = order;
            TheWaitGate().changed.notify_all();
        }
    }

    std::shared_ptr<ThreadState> state_;
    std::thread thread_;
};

}  // namespace

std::unique_ptr<Thread> MakeThread(std::function<std::uint32_t()> function, bool suspended) {
    try {
        return std::make_unique<SystemThread>(std::move(function), suspended);
    } catch (const std::system_error&) {
        return nullptr;
    }
}

struct RecursiveLock::State {
    std::recursive_mutex mutex;
};

RecursiveLock::RecursiveLock() : state_(std::make_unique<State>()) {}

RecursiveLock::~RecursiveLock() = default;

void RecursiveLock::Enter() { state_->mutex.lock(); }

void RecursiveLock::Leave() { state_->mutex.unlock(); }

}  // namespace platform
