// Stops the other threads of the process, so that a thread that has faulted can examine them.
//
// Each is stopped by a signal and stays in its handler until it is released. A thread that blocks
// the signal continues; if it is waiting, the system reports its stack pointer and instruction.
// Nothing here allocates or waits for a lock, and nothing waits longer than a second.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace platform::posix {

struct OtherThread {
    std::uint32_t id = 0;
    const void* context = nullptr;  // of the signal handler; null if it was not stopped
    // Both 0 if unknown.
    std::uint64_t stackPointer = 0;
    std::uint64_t instruction = 0;
};

// One object at a time; its destructor releases the threads. Threads that start meanwhile, and
// those after the first `kMost`, are not seen.
class OtherThreads {
public:
    static constexpr std::size_t kMost = 1000;

    OtherThreads() noexcept;
    OtherThreads(const OtherThreads&) = delete;
    OtherThreads& operator=(const OtherThreads&) = delete;
    ~OtherThreads();

    [[nodiscard]] std::span<const OtherThread> All() const noexcept;
};

}  // namespace platform::posix
