// Stops the other threads of the process, so that a thread that has faulted can look at them.
//
// Each is stopped by a signal, and stays in its handler until it is let go. A thread that blocks
// the signal runs on; the system then tells where its stack and its instructions are, if it waits.
// Nothing here allocates or waits for a lock, and nothing waits longer than a second.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace platform::posix {

struct OtherThread {
    std::uint32_t id = 0;
    const void* context = nullptr;  // of the signal that stopped it; null if it was not stopped
    // Both 0 when they are not known.
    std::uint64_t stackPointer = 0;
    std::uint64_t instruction = 0;
};

// One at a time. The threads run on when it ends. Those that start meanwhile are not seen, and of
// more than `kMost` the rest is not.
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
