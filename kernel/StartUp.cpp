#include "kernel/StartUp.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <new>

#include "kernel/Exceptions.h"
#include "kernel/StringPool.h"
#include "platform/Clock.h"
#include "platform/Lock.h"
#include "platform/Threads.h"

namespace Vorn {
namespace {

using TeardownFunction = void (*)();

// Constant-initialised and without destructors, so that any static object may use them.
constinit std::atomic<bool> started = false;
constinit std::atomic<std::uint32_t> mainThreadId = 0;
constinit std::atomic<TeardownFunction> finalTeardown = nullptr;

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

    platform::Lock lock_;
    std::array<TeardownFunction, 1024> functions_{};
    std::size_t count_ = 0;
};

constinit TeardownList teardown;

void RunTeardown() { teardown.Run(); }

void EndPoolAndRest() {
    DestroyStringPool();
    if (const TeardownFunction function = finalTeardown.exchange(nullptr)) function();
}

std::uint64_t ClockFrequency() {
    static const std::uint64_t frequency = platform::PerformanceFrequency();
    return frequency;
}

std::terminate_handler otherTerminate = nullptr;

[[noreturn]] void OnTerminate() {
    const std::exception_ptr exception = std::current_exception();
    try {
        if (exception) std::rethrow_exception(exception);
    } catch (const std::bad_alloc&) {
        EndWithoutMemory();
    } catch (...) {
        // Any other exception belongs to the previous handler, below.
    }
    otherTerminate();
    std::abort();
}

// The C++ runtime reserves memory at its start for exceptions thrown when none is left; if it got
// none, it would end the process without a message. This probe takes more than that reserve.
void RequireMemoryToThrow() {
    constexpr std::size_t kMemory = std::size_t{128} << 10U;
    // volatile: else the compiler may remove the pair of calls.
    void* volatile const memory = std::malloc(kMemory);
    if (!memory) EndWithoutMemory();
    std::free(memory);
}

// Brings the kernel up before main in every program that links it.
struct StartUp {
    StartUp() {
        RequireMemoryToThrow();
        otherTerminate = std::set_terminate(OnTerminate);
        (void)ClockFrequency();
        EarlyInitialise();
    }
};

// Constructed before every static object of the program, so that the teardown runs after the last
// of their destructors and a line they log while they end still finds the log. 101 is the lowest
// priority number that programs may use.
[[gnu::init_priority(101)]] const StartUp startUp;

}  // namespace

void EarlyInitialise() {
    if (started.exchange(true)) return;
    if (std::atexit(RunTeardown) != 0) {
        throw Exception("kernel/StartUp", __LINE__, "The runtime's exit list is full");
    }
    RecordMainThread();
    (void)GetStringPool();
    RegisterTeardown(EndPoolAndRest);
}

void EndWithoutMemory() noexcept {
    std::fputs("out of memory; close other programs or raise the memory limit, then try again\n",
               stderr);
    std::_Exit(EXIT_FAILURE);
}

void RegisterTeardown(void (*function)()) {
    EarlyInitialise();
    teardown.Add(function);
}

void SetFinalTeardown(void (*function)()) { finalTeardown = function; }

std::uint32_t MainThreadId() { return mainThreadId; }

void RecordMainThread() { mainThreadId = platform::CurrentThreadId(); }

double GetTimeSeconds() {
    return static_cast<double>(platform::PerformanceCounter()) /
           static_cast<double>(ClockFrequency());
}

}  // namespace Vorn
