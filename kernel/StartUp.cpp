#include "kernel/StartUp.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <mutex>

#include "kernel/Exceptions.h"
#include "kernel/StringPool.h"
#include "platform/Clock.h"
#include "platform/Threads.h"

namespace Vorn {
namespace {

using TeardownFunction = void (*)();

// Both are constant-initialised and need no destructor, so that any static object may use them.
constinit std::atomic<bool> g_started = false;
constinit std::atomic<std::uint32_t> g_mainThreadId = 0;
constinit std::atomic<TeardownFunction> g_finalTeardown = nullptr;

class TeardownList {
public:
    void Add(TeardownFunction function) {
        const std::lock_guard guard(lock_);
        if (count_ == functions_.size()) {
            throw Exception("kernel/StartUp", __LINE__, "Too many teardown functions");
        }
        functions_[count_++] = function;
    }

    // Functions may register further ones while the list runs.
    void Run() {
        while (const TeardownFunction function = TakeLast()) function();
    }

private:
    TeardownFunction TakeLast() {
        const std::lock_guard guard(lock_);
        return count_ == 0 ? nullptr : functions_[--count_];
    }

    std::mutex lock_;
    std::array<TeardownFunction, 1024> functions_{};
    std::size_t count_ = 0;
};

constinit TeardownList g_teardown;

void RunTeardown() { g_teardown.Run(); }

void EndPoolAndRest() {
    DestroyStringPool();
    if (const TeardownFunction function = g_finalTeardown.exchange(nullptr)) function();
}

std::uint64_t ClockFrequency() {
    static const std::uint64_t frequency = platform::PerformanceFrequency();
    return frequency;
}

// Brings the kernel up before main in every program that links it.
const bool g_startedBeforeMain = [] {
    static_cast<void>(ClockFrequency());
    EarlyInitialise();
    return true;
}();

}  // namespace

void EarlyInitialise() {
    if (g_started.exchange(true)) return;
    if (std::atexit(RunTeardown) != 0) {
        throw Exception("kernel/StartUp", __LINE__, "The runtime's exit list is full");
    }
    RecordMainThread();
    static_cast<void>(GetStringPool());
    RegisterTeardown(EndPoolAndRest);
}

void RegisterTeardown(void (*function)()) {
    EarlyInitialise();
    g_teardown.Add(function);
}

void SetFinalTeardown(void (*function)()) { g_finalTeardown = function; }

std::uint32_t MainThreadId() { return g_mainThreadId; }

void RecordMainThread() { g_mainThreadId = platform::CurrentThreadId(); }

double GetTimeSeconds() {
    return static_cast<double>(platform::PerformanceCounter()) /
           static_cast<double>(ClockFrequency());
}

}  // namespace Vorn
