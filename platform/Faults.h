// Faults of the processor, and who looks at them before the system does.
//
// Only the faults of a thread inside CallGuarded are looked at; all others reach the system, or
// whoever was called for them before, as if this were not here. So do signals that somebody sends.
// A thread that calls abort has a fault too: so end a failed assertion of the runtime and a heap
// that the runtime finds damaged.
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
    kFaultInPageError = 0xC0000006,  // memory of a file that is not there any more
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
    // For memory that cannot be used: 0 for a read (of instructions too) or 1 for a write, and the
    // address; all ones where the processor does not tell it. For all others none.
    std::uint32_t parameterCount = 0;
    std::array<std::uint64_t, 2> parameters{};
    std::uint64_t instruction = 0;  // address of the instruction that faulted
    std::uint64_t stackPointer = 0;
    // Which there are depends on the processor. For x86-64: rax, rbx, rcx, rdx, rsi, rdi, rbp, rsp,
    // rip, flags, cs and ss; for others none so far. Valid while the filter runs.
    std::span<const Register> registers;
    // The thread's stack from the stack pointer on. After a stack overflow it begins where it can
    // be read. Empty when the stack pointer points elsewhere.
    std::uint64_t stackBegin = 0;
    std::uint64_t stackEnd = 0;
    const SystemFault* system = nullptr;  // what the system says of it, for WriteMiniDump

    // Returns the value of the register with that name; 0 when this processor has none.
    [[nodiscard]] std::uint64_t ValueOf(std::string_view registerName) const noexcept;
};

enum class FaultAnswer {
    PassOn,  // to who would have had it without a guard: at last the system, which ends the process
    EndProcess,  // at once, with exit code 1 and nothing cleaned up
};

// Looks at a fault, on the thread that has it and on a stack of its own of 128 KiB. As that thread
// may have stopped anywhere, the filter may neither allocate nor wait for a lock. A fault of its
// own ends the process. Faults of several threads come at the same time.
using FaultFilter = FaultAnswer (*)(const Fault& fault);

// Returns what `function` returns. What faults in it meanwhile, on this thread, goes to `filter`.
std::uint32_t CallGuarded(FaultFilter filter, const std::function<std::uint32_t()>& function);

// Whether the calling thread is inside CallGuarded.
[[nodiscard]] bool IsGuarded();

// Gives the calling thread, which must be guarded, a fault with that code and the registers it has
// here. Returns when the filter passes it on.
void RaiseFault(std::uint32_t code);

}  // namespace platform
