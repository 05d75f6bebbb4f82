#include "platform/Faults.h"

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <mutex>

#include "platform/posix/FaultContext.h"

namespace platform {
namespace {

// SIGABRT: the runtime raises it for failed assertions and heap corruption.
constexpr std::array kFaultSignals = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT};
constexpr int kRaiseSignal = SIGILL;
constexpr int kExitCode = 1;

std::array<struct sigaction, kFaultSignals.size()> previousActions;

// One CallGuarded call of a thread.
struct Guard {
    FaultFilter filter;
    Guard* outer;
    std::uint64_t stackLimit = 0;  // the lowest address of the stack that can be used
    std::uint64_t stackEnd = 0;
    std::uint64_t forbidden = 0;  // bytes below the limit where an access is an overflow
    std::uint32_t raised = 0;     // the code that RaiseFault is raising
};

// Initial-exec: the default model may allocate on the first access, which a fault handler must not.
[[gnu::tls_model("initial-exec")]] constinit thread_local Guard* innermost = nullptr;

// Makes the calling thread handle its signals on a separate stack while this exists; a stack
// overflow leaves no room on its own. Without memory for it signals stay on the thread's stack.
class AlternateStack {
public:
    AlternateStack() noexcept {
        void* const place =
            mmap(nullptr, kForbidden + kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (place == MAP_FAILED) return;
        place_ = static_cast<std::byte*>(place);
        const stack_t mine{.ss_sp = place_ + kForbidden, .ss_flags = 0, .ss_size = kSize};
        installed_ = mprotect(place_ + kForbidden, kSize, PROT_READ | PROT_WRITE) == 0 &&
                     sigaltstack(&mine, &before_) == 0;
    }
    AlternateStack(const AlternateStack&) = delete;
    AlternateStack& operator=(const AlternateStack&) = delete;
    ~AlternateStack() {
        if (installed_) sigaltstack(&before_, nullptr);
        if (place_) munmap(place_, kForbidden + kSize);
    }

private:
    static constexpr std::size_t kSize = std::size_t{128} << 10U;
    static constexpr std::size_t kForbidden = std::size_t{64} << 10U;  // pages of every size fit

    std::byte* place_ = nullptr;
    bool installed_ = false;
    stack_t before_{};
};

void FindStack(Guard& guard) {
    // A large frame can jump over the system's guard page by this much.
    constexpr std::size_t kReach = std::size_t{64} << 10U;
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
    void* low = nullptr;
    std::size_t size = 0;
    std::size_t forbidden = 0;
    if (pthread_attr_getstack(&attributes, &low, &size) == 0 &&
        pthread_attr_getguardsize(&attributes, &forbidden) == 0) {
        guard.stackLimit = reinterpret_cast<std::uintptr_t>(low);
        guard.stackEnd = guard.stackLimit + size;
        guard.forbidden = std::max(forbidden, kReach);
    }
    pthread_attr_destroy(&attributes);
}

bool IsBelowStack(const Guard& guard, std::uint64_t address) {
    return address < guard.stackLimit && guard.stackLimit - address <= guard.forbidden;
}

std::uint64_t StackBegin(const Guard& guard, std::uint64_t stackPointer) {
    if (IsBelowStack(guard, stackPointer)) return guard.stackLimit;
    const bool isInside = stackPointer >= guard.stackLimit && stackPointer < guard.stackEnd;
    return isInside ? stackPointer : guard.stackEnd;
}

std::uint32_t ArithmeticCode(int reason) {
    switch (reason) {
        case FPE_INTDIV:
            return kFaultIntegerDivide;
        case FPE_INTOVF:
            return kFaultIntegerOverflow;
        case FPE_FLTDIV:
            return kFaultFloatDivide;
        case FPE_FLTOVF:
            return kFaultFloatOverflow;
        case FPE_FLTUND:
            return kFaultFloatUnderflow;
        case FPE_FLTRES:
            return kFaultFloatInexact;
        case FPE_FLTSUB:
            return kFaultArrayBounds;
        default:
            return kFaultFloatInvalid;
    }
}

std::uint32_t BusCode(int reason) {
    switch (reason) {
        case BUS_ADRALN:
            return kFaultMisalignment;
        case SI_KERNEL:
            return kFaultAccessViolation;  // a non-canonical stack pointer
        default:
            return kFaultInPageError;
    }
}

std::uint32_t CodeOf(const siginfo_t& signal, const void* context) {
    switch (signal.si_signo) {
        case SIGABRT:
            return kFaultAbort;
        case SIGBUS:
            return BusCode(signal.si_code);
        case SIGFPE:
            return ArithmeticCode(signal.si_code);
        case SIGILL:
            return signal.si_code == ILL_PRVOPC ? kFaultPrivilegedInstruction
                                                : kFaultIllegalInstruction;
        case SIGTRAP:
            return signal.si_code == TRAP_TRACE ? kFaultSingleStep : kFaultBreakpoint;
        default:
            return posix::IsAtPrivilegedInstruction(context) ? kFaultPrivilegedInstruction
                                                             : kFaultAccessViolation;
    }
}

// The result refers to `system` and `registers`.
Fault Describe(const Guard& guard, const SystemFault& system, const posix::RegisterSet& registers) {
    const auto& [number, signal, context] = system;
    Fault fault;
    fault.code = guard.raised != 0 ? guard.raised : CodeOf(signal, context);
    fault.threadId = static_cast<std::uint32_t>(gettid());
    const posix::ThreadPlace place = posix::PlaceOf(context);
    fault.instruction = place.instruction;
    fault.stackPointer = place.stackPointer;
    fault.registers = std::span(registers.all).first(registers.count);
    fault.stackBegin = StackBegin(guard, fault.stackPointer);
    fault.stackEnd = guard.stackEnd;
    fault.system = &system;
    if (fault.code == kFaultAccessViolation || fault.code == kFaultInPageError) {
        const posix::MemoryUse use = posix::MemoryUseOf(signal, context);
        fault.parameterCount = 2;
        fault.parameters = {use.isWrite ? 1U : 0U, use.address};
        if (fault.code == kFaultAccessViolation &&
            (IsBelowStack(guard, use.address) || IsBelowStack(guard, fault.stackPointer))) {
            fault.code = kFaultStackOverflow;
        }
    }
    return fault;
}

void PassOn(int number, siginfo_t* signal, void* context) {
    const auto at = std::find(kFaultSignals.begin(), kFaultSignals.end(), number);
    const struct sigaction& previous =
        previousActions[static_cast<std::size_t>(at - kFaultSignals.begin())];
    if ((previous.sa_flags & SA_SIGINFO) != 0) {
        previous.sa_sigaction(number, signal, context);
    } else if (previous.sa_handler == SIG_IGN && signal->si_code <= 0) {
        return;  // a process sent it; a real fault is never ignored
    } else if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
        previous.sa_handler(number);
    } else {
        // The signal stays blocked until the handler returns; then it ends the process at the
        // faulting instruction, so a core file shows it.
        struct sigaction standard {};
        standard.sa_handler = SIG_DFL;
        sigaction(number, &standard, nullptr);
        tgkill(getpid(), gettid(), number);
    }
}

// True for signals raised by the system, by abort and by RaiseFault; false if another process sent
// it.
bool IsFault(const Guard& guard, const siginfo_t& signal) {
    if (signal.si_signo == SIGABRT) return signal.si_code == SI_TKILL && signal.si_pid == getpid();
    return signal.si_code > 0 || (guard.raised != 0 && signal.si_signo == kRaiseSignal);
}

void OnFault(Guard& guard, int number, siginfo_t* signal, void* context) {
    const bool isRaised = guard.raised != 0;
    const SystemFault system{isRaised ? SIGABRT : number, *signal, context};
    const posix::RegisterSet registers = posix::RegistersOf(context);
    const FaultAnswer answer = guard.filter(Describe(guard, system, registers));
    if (answer == FaultAnswer::EndProcess) _exit(kExitCode);
    if (!isRaised) PassOn(number, signal, context);
}

void OnSignal(int number, siginfo_t* signal, void* context) {
    const int error = errno;
    Guard* const guard = innermost;
    if (guard && IsFault(*guard, *signal)) {
        OnFault(*guard, number, signal, context);
    } else {
        PassOn(number, signal, context);
    }
    errno = error;
}

void InstallHandlers() {
    struct sigaction action {};
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    for (std::size_t i = 0; i < kFaultSignals.size(); ++i) {
        // Fetched first: a fault on another thread right after the change needs it.
        sigaction(kFaultSignals[i], nullptr, &previousActions[i]);
        sigaction(kFaultSignals[i], &action, nullptr);
    }
}

}  // namespace

std::uint64_t Fault::ValueOf(std::string_view registerName) const noexcept {
    const auto found = std::ranges::find(registers, registerName, &Register::name);
    return found != registers.end() ? found->value : 0;
}

std::uint32_t CallGuarded(FaultFilter filter, const std::function<std::uint32_t()>& function) {
    static std::once_flag installed;
    std::call_once(installed, InstallHandlers);
    const AlternateStack stack;
    Guard guard{.filter = filter, .outer = innermost};
    FindStack(guard);
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
    tgkill(getpid(), gettid(), kRaiseSignal);
    innermost->raised = 0;
}

}  // namespace platform
