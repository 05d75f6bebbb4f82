// Requests are Ctrl-C, Ctrl-Break, and the end of the console, the session or the machine.
#include "platform/Interruption.h"

#include <windows.h>

#include <atomic>

namespace platform {
namespace {

std::atomic<bool> asked = false;

BOOL WINAPI Note(DWORD /*request*/) {
    // The system ends the program when this says that the request is not handled: so does a second
    // one.
    return asked.exchange(true, std::memory_order_relaxed) ? FALSE : TRUE;
}

}  // namespace

Interruptible::Interruptible() { SetConsoleCtrlHandler(Note, TRUE); }

Interruptible::~Interruptible() { SetConsoleCtrlHandler(Note, FALSE); }

bool InterruptionAsked() noexcept { return asked.load(std::memory_order_relaxed); }

void EndAsAsked() {
    if (!asked.load(std::memory_order_relaxed)) return;
    constexpr UINT kControlCExit = 0xC000013A;  // what the system's own handler ends with
    ExitProcess(kControlCExit);
}

}  // namespace platform
