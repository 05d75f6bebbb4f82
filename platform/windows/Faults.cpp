// Faults are structured exceptions that no frame has handled. The filter runs on the thread's own
// stack, for which CallGuarded keeps 128 KiB after an overflow. The codes are the system's own.
#include "platform/Faults.h"

#include <windows.h>

#include <algorithm>
#include <csignal>
#include <mutex>

#include "platform/windows/SystemFault.h"

namespace platform {
namespace {

constexpr UINT kExitCode = 1;

// One CallGuarded call of a thread.
struct Guard {
    FaultFilter filter;
    Guard* outer;
    std::uint32_t raised = 0;  // the code that RaiseFault is raising
};

constinit thread_local Guard* innermost = nullptr;
LPTOP_LEVEL_EXCEPTION_FILTER previousFilter = nullptr;

struct RegisterSet {
    std::array<Register, 12> all{};
};

#if defined(__x86_64__)
RegisterSet RegistersOf(const CONTEXT& context) {
    return {{{{"rax", context.Rax},
              {"rbx", context.Rbx},
              {"rcx", context.Rcx},
              {"rdx", context.Rdx},
              {"rsi", context.Rsi},
              {"rdi", context.Rdi},
              {"rbp", context.Rbp},
              {"rsp", context.Rsp},
              {"rip", context.Rip},
              {"flags", context.EFlags},
              {"cs", context.SegCs},
              {"ss", context.SegSs}}}};
}
#endif

void FindStack(Fault& fault) {
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    GetCurrentThreadStackLimits(&low, &high);
    const bool isInside = fault.stackPointer >= low && fault.stackPointer < high;
    fault.stackBegin = isInside ? fault.stackPointer : high;
    fault.stackEnd = high;
}

// The result refers to `system` and `registers`.
Fault Describe(const Guard& guard, const SystemFault& system, const RegisterSet& registers) {
    const EXCEPTION_RECORD& record = *system.record->ExceptionRecord;
    Fault fault;
    fault.code = guard.raised != 0 ? guard.raised : record.ExceptionCode;
    fault.threadId = GetCurrentThreadId();
    fault.instruction = reinterpret_cast<std::uintptr_t>(record.ExceptionAddress);
    fault.stackPointer = system.record->ContextRecord->Rsp;
    fault.registers = registers.all;
    FindStack(fault);
    fault.system = &system;
    const bool isMemoryFault = fault.code == kFaultAccessViolation ||
                               fault.code == kFaultInPageError || fault.code == kFaultStackOverflow;
    if (isMemoryFault && record.NumberParameters >= 2) {
        constexpr ULONG_PTR kWrite = 1;
        fault.parameterCount = 2;
        fault.parameters = {record.ExceptionInformation[0] == kWrite ? 1U : 0U,
                            record.ExceptionInformation[1]};
    }
    return fault;
}

LONG WINAPI OnFault(EXCEPTION_POINTERS* exception) {
    Guard* const guard = innermost;
    if (guard) {
        const bool isRaised = guard->raised != 0;
        const SystemFault system{exception};
        const RegisterSet registers = RegistersOf(*exception->ContextRecord);
        // A fault inside the filter must end the process, not call the filter again.
        innermost = nullptr;
        const FaultAnswer answer = guard->filter(Describe(*guard, system, registers));
        innermost = guard;
        if (answer == FaultAnswer::EndProcess) TerminateProcess(GetCurrentProcess(), kExitCode);
        if (isRaised) return EXCEPTION_CONTINUE_EXECUTION;
    }
    return previousFilter ? previousFilter(exception) : EXCEPTION_CONTINUE_SEARCH;
}

// The runtime calls this for abort, and ends the process when it returns.
void OnAbort(int number) {
    std::signal(number, SIG_DFL);
    if (innermost) RaiseFault(kFaultAbort);
}

void InstallHandlers() {
    // A box would block a program that runs unattended.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    previousFilter = SetUnhandledExceptionFilter(OnFault);
    std::signal(SIGABRT, OnAbort);
}

}  // namespace

std::uint64_t Fault::ValueOf(std::string_view registerName) const noexcept {
    const auto found = std::ranges::find(registers, registerName, &Register::name);
    return found != registers.end() ? found->value : 0;
}

std::uint32_t CallGuarded(FaultFilter filter, const std::function<std::uint32_t()>& function) {
    static std::once_flag installed;
    std::call_once(installed, InstallHandlers);
    ULONG reserve = 128U << 10U;
    SetThreadStackGuarantee(&reserve);
    Guard guard{.filter = filter, .outer = innermost};
    struct Leave {
        ~Leave() { innermost = innermost->outer; }
    };
    innermost = &guard;
    const Leave leave;
    return function();
}

bool IsGuarded() { return innermost != nullptr; }

void RaiseFault(std::uint32_t code) {
    innermost->raised = code;
    RaiseException(code, 0, 0, nullptr);
    innermost->raised = 0;
}

}  // namespace platform
