// What the system saved of a thread when it stopped it for a signal: all that depends on the
// processor. On processors other than x86-64 registers and thread records are empty.
#pragma once

#include <signal.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/Faults.h"

struct platform::SystemFault {
    int number;  // of the signal; for a fault that its thread raises itself SIGABRT, the end of it
    const siginfo_t& signal;
    const void* context;  // of the signal
};

namespace platform::posix {

// Where a thread stopped. Both 0 when that is not known.
struct ThreadPlace {
    std::uint64_t stackPointer = 0;
    std::uint64_t instruction = 0;
};
[[nodiscard]] ThreadPlace PlaceOf(const void* systemContext) noexcept;

// The registers that Fault::registers has, those in use first.
struct RegisterSet {
    std::array<Register, 16> all{};
    std::size_t count = 0;
};
[[nodiscard]] RegisterSet RegistersOf(const void* systemContext) noexcept;

// How the instruction used the memory at fault.
struct MemoryUse {
    bool isWrite = false;
    std::uint64_t address = 0;
};
[[nodiscard]] MemoryUse MemoryUseOf(const siginfo_t& signal, const void* systemContext) noexcept;

// Whether the thread was refused an instruction that only the system may use.
[[nodiscard]] bool IsAtPrivilegedInstruction(const void* systemContext) noexcept;

// The registers in the layout of a minidump's thread context; empty when there is none. Good until
// the next call.
[[nodiscard]] std::span<const std::byte> ThreadContext(const void* systemContext) noexcept;
// The same where nothing else is known.
[[nodiscard]] std::span<const std::byte> ThreadContext(std::uint64_t stackPointer,
                                                       std::uint64_t instruction) noexcept;

// The processor part of a minidump's system record.
struct Processor {
    std::uint16_t architecture = 0xFFFF;  // unknown
    std::uint16_t level = 0;
    std::uint16_t revision = 0;
    std::array<std::uint32_t, 3> vendor{};
    std::uint32_t signature = 0;
    std::uint32_t features = 0;
    std::uint32_t extendedFeatures = 0;
};
[[nodiscard]] Processor ThisProcessor() noexcept;

}  // namespace platform::posix
