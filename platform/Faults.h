// Processor faults, and a filter that sees them before the system does.
//
// Only faults of threads inside CallGuarded are handled. All others, and signals that a process
// sends, go to the previous handler or the system. Calling abort counts as a fault, because failed
// assertions and heap corruption found by the runtime end that way.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

namespace platform {

struct SystemFault;

enum FaultCode : std::uint32_t {
    kFaultAbort = 0x40000015,
    kFaultMisalignment = 0x80000002,
    kFaultBreakpoint = 0x80000003,
    kFaultSingleStep = 0x80000004,
    kFaultAccessViolation = 0xC0000005,
    kFaultInPageError = 0xC0000006,  // mapped memory past the end of its file
    kFaultIllegalInstruction = 0xC000001D,
    kFaultArrayBounds = 0xC000008C,
    kFaultFloatDivide = 0xC000008E,
    kFaultFloatInexact = 0xC000008F,
    kFaultFloatInvalid = 0xC0000090,
    kFaultFloatOverflow = 0xC0000091,
    kFaultFloatUnderflow = 0xC0000093,
    kFaultIntegerDivide = 0xC0000094,
    kFaultIntegerOverflow = 0xC0000095,
    kFaultPrivilegedInstruction = 0xC0000096,
    kFaultStackOverflow = 0xC00000FD,
    kFaultUncaughtException = 0xE06D7363,
};

// A register's value under the name that the processor's maker gives it.
struct Register {
    std::string_view name;
    std::uint64_t value = 0;
};

struct Fault {
    std::uint32_t code = 0;  // a FaultCode, or the number given to RaiseFault
    std::uint32_t threadId = 0;
    // For memory faults: 0 for a read (of instructions, too) or 1 for a write, then the address
    // (all ones if the processor does not report it). Other faults have no parameters.
    std::uint32_t parameterCount = 0;
    std::array<std::uint64_t, 2> parameters{};
    std::uint64_t instruction = 0;  // address of the instruction that faulted
    std::uint64_t stackPointer = 0;
    // Their names depend on the processor. x86-64 has rax, rbx, rcx, rdx, rsi, rdi, rbp, rsp,
    // rip, flags, cs and ss; other processors have none so far. Valid while the filter runs.
    std::span<const Register> registers;
    // The thread's stack from the stack pointer up. After a stack overflow it begins at the first
    // readable address. Empty if the stack pointer is outside the stack.
    std::uint64_t stackBegin = 0;
    std::uint64_t stackEnd = 0;
    const SystemFault* system = nullptr;  // the system's record, for WriteMiniDump

    // Returns the value of the register with that name; 0 when this processor has none.
    [[nodiscard]] std::uint64_t ValueOf(std::string_view registerName) const noexcept;
};

enum class FaultAnswer {
    PassOn,      // to the previous handler, and ultimately the system, which ends the process
    EndProcess,  // at once, with exit code 1 and without cleaning up
};

// Called for a fault on the thread that has it, on a separate stack of 128 KiB. The thread may have
// stopped anywhere, so the filter must neither allocate nor wait for a lock. A fault inside the
// filter ends the process. Faults of several threads may call it at the same time.
using FaultFilter = FaultAnswer (*)(const Fault& fault);

// Returns the result of `function`. Faults of this thread inside it go to `filter`.
std::uint32_t CallGuarded(FaultFilter filter, const std::function<std::uint32_t()>& function);

// Returns whether the calling thread is inside CallGuarded.
[[nodiscard]] bool IsGuarded();

// Raises a fault with that code on the calling thread, which must be guarded. Returns if the filter
// passes it on.
void RaiseFault(std::uint32_t code);

}  // namespace platform
