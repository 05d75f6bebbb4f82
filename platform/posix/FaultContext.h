// The thread state that the system saves for a signal handler. Everything that depends on the
// processor is here. On processors other than x86-64 registers and thread records are empty.
#pragma once

#include <signal.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/Faults.h"

struct platform::SystemFault {
    int number;  // of the signal; SIGABRT for a fault from RaiseFault
    const siginfo_t& signal;
    const void* context;  // of the signal
};

namespace platform::posix {

// Where a thread stopped. Both 0 if unknown.
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

// How the instruction used memory when it faulted.
struct MemoryUse {
    bool isWrite = false;
    std::uint64_t address = 0;
};
[[nodiscard]] MemoryUse MemoryUseOf(const siginfo_t& signal, const void* systemContext) noexcept;

// Returns whether the fault is the use of an instruction that is reserved for the system.
[[nodiscard]] bool IsAtPrivilegedInstruction(const void* systemContext) noexcept;

// Returns the registers as a minidump's thread context; empty if the processor is unknown. Valid
// until the next call.
[[nodiscard]] std::span<const std::byte> ThreadContext(const void* systemContext) noexcept;
// The same when only these two registers are known.
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
