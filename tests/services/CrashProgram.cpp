// Faults in the way that its first argument names: in a kernel thread, or where its second argument
// says; with "bystanders", while other threads do something else. Each thread that is about to
// fault or stands by prints its id and where on its stack a marked text is.
//
// Nothing may be allocated while a fault is handled, and what other threads lock is locked: malloc
// ends the process with 77, and the main thread holds the loader's lock and those of the standard
// streams.
#include <link.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Directories.h"
#include "services/CrashReport.h"
#include "services/Log.h"
#include "services/OptionList.h"
#include "services/Thread.h"

namespace {

constinit thread_local bool mayAllocate = true;

void* Allowed(void* block) {
    if (!mayAllocate) _exit(77);
    return block;
}

}  // namespace

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) { return Allowed(__libc_malloc(size)); }
void* calloc(size_t count, size_t size) { return Allowed(__libc_calloc(count, size)); }
void* realloc(void* block, size_t size) { return Allowed(__libc_realloc(block, size)); }
}

namespace {

volatile int zero = 0;
volatile char sink = 0;

volatile char& At(std::uintptr_t address) {
    return *reinterpret_cast<volatile char*>(address + static_cast<std::uintptr_t>(zero));
}

char Recurse(int depth) {
    volatile char frame[1000] = {};
    frame[0] = static_cast<char>(depth);
    return static_cast<char>(zero == 0 ? Recurse(depth + 1) + frame[0] : 0);
}

struct Uncaught {
    Uncaught() { mayAllocate = false; }
};

// From the main thread's heap, and too large for the caches before it: a thread that frees it twice
// is stopped while it holds the heap's lock.
void* volatile damaged = nullptr;
void* volatile behind = nullptr;  // keeps it off the heap's end

const std::map<std::string, void (*)()> kFaults = {
    {"read", [] { sink = At(0x1234); }},
    {"write", [] { At(0xC) = 1; }},
    {"divide", [] { sink = static_cast<char>(100 / zero); }},
    {"illegal", [] { __builtin_trap(); }},
    {"overflow", [] { sink = Recurse(0); }},
    {"throw",
     [] {
         mayAllocate = true;
         throw Uncaught();
     }},
    {"abort", [] { std::abort(); }},
    {"heap",
     [] {
         std::free(damaged);
         std::free(damaged);
     }},
    {"sent", [] { tgkill(getpid(), gettid(), SIGSEGV); }},
};

void (*fault)() = nullptr;
std::atomic<int> toCome = 1;  // threads that are not about to fault yet

// A text on the stack of a thread, printed with the thread's id.
struct Marked {
    Marked() {
        std::printf("%u %p\n", Vorn::Thread::CurrentThreadId(), static_cast<void*>(text));
        std::fflush(stdout);
    }
    char text[34] = "a text on the stack of the thread";
};

// One waits, one does that and takes no signals, one never waits, and one is at the heap.
void StartBystanders() {
    static std::atomic<int> standing = 0;
    static void (*const kBystanders[])() = {
        [] { pause(); },
        [] {
            sigset_t all;
            sigfillset(&all);
            sigprocmask(SIG_SETMASK, &all, nullptr);
            pause();
        },
        [] { sink = At(reinterpret_cast<std::uintptr_t>(&sink)); },
        [] { std::free(std::malloc(100'000)); },
    };
    for (void (*const work)() : kBystanders) {
        std::thread([work] {
            const Marked marked;
            for (++standing;;) work();
        }).detach();
    }
    while (standing < 4) sched_yield();
}

std::uint32_t Fault(void*) {
    const Marked marked;
    for (--toCome; toCome > 0;) sched_yield();
    mayAllocate = false;
    fault();
    return static_cast<std::uint32_t>(sink + marked.text[0]);
}

int RunThreads(dl_phdr_info*, size_t, void*) {
    std::vector<std::unique_ptr<Vorn::Thread>> threads(static_cast<std::size_t>(toCome++));
    for (auto& thread : threads) thread = std::make_unique<Vorn::Thread>(Fault, nullptr, true);
    while (toCome > 1) sched_yield();
    flockfile(stdout);
    flockfile(stderr);
    --toCome;
    return threads[0]->Wait(-1) ? 1 : 2;
}

// A fault that was none, twice: returns how often it was not passed on.
int ReportMadeUpFault() {
    const char stack[] = "20 bytes: \x01\x7F ... ~ !";
    platform::Fault madeUp;
    madeUp.code = 0x12345678;
    madeUp.stackBegin = reinterpret_cast<std::uintptr_t>(stack);
    madeUp.stackEnd = madeUp.stackBegin + 20;
    const platform::Register registers[] = {
        {"rax", 3}, {"rbx", 4},    {"rcx", 5},   {"rdx", 6},  {"rsi", 2}, {"rdi", 0xABC00000001},
        {"rbp", 8}, {"flags", 10}, {"cs", 0x33}, {"ss", 0x2B}};
    madeUp.registers = registers;
    madeUp.instruction = 7;
    madeUp.stackPointer = 9;
    Vorn::PrepareCrashReport();
    int taken = 0;
    for (int i = 0; i < 2; ++i) {
        taken += Vorn::WriteCrashReport(madeUp) == platform::FaultAnswer::PassOn ? 0 : 1;
        madeUp.code = 1;
    }
    return taken;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 2) return 2;
    const std::string place = argumentCount > 2 ? arguments[2] : "";
    if (place == "made up") return ReportMadeUpFault();
    fault = kFaults.at(arguments[1]);
    Vorn::OptionList options;
    Vorn::ParseOptions(options, "-LogFile=" + platform::TemporaryDirectory() + "log.txt");
    Vorn::InitLog(options);
    std::set_terminate([] {
        mayAllocate = true;
        std::abort();
    });
    if (place == "main") {
        Vorn::Thread([](void*) { return std::uint32_t{0}; }, nullptr, true);
        return static_cast<int>(Fault(nullptr));
    }
    if (place == "taken") signal(SIGSEGV, [](int) { _exit(9); });
    if (place == "crowd") toCome = 8;
    damaged = std::malloc(100'000);
    behind = std::malloc(100'000);
    if (place == "bystanders") StartBystanders();
    return dl_iterate_phdr(RunThreads, nullptr);
}
