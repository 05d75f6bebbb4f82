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

struct Registers {
    std::uint64_t rax = 0, rbx = 0, rcx = 0, rdx = 0, rsi = 0, rdi = 0, rbp = 0, rsp = 0, rip = 0;
    std::uint32_t flags = 0;
    std::uint16_t cs = 0, ss = 0;
};

struct Fault {
    std::uint32_t code = 0;  // a FaultCode, or the number given to RaiseFault
    std::uint32_t threadId = 0;
    // For memory that cannot be used: 0 for a read (of instructions too) or 1 for a write, and the
    // address; all ones where the processor does not tell it. For all others none.
    std::uint32_t parameterCount = 0;
    std::array<std::uint64_t, 2> parameters{};
    Registers registers;
    // The thread's stack from the stack pointer on. After a stack overflow it begins where it can
    // be read. Empty when the stack pointer points elsewhere.
    std::uint64_t stackBegin = 0;
    std::uint64_t stackEnd = 0;
    const SystemFault* system = nullptr;  // what the system says of it, for WriteMiniDump
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
