#include "platform/Interruption.h"

#include <array>
#include <atomic>
#include <csignal>

namespace platform {
namespace {

constexpr std::array kRequests = {SIGHUP, SIGINT, SIGPIPE, SIGTERM};

std::atomic<int> askedSignal = 0;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

void Note(int signal) { askedSignal.store(signal, std::memory_order_relaxed); }

bool IsIgnored(int signal) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

void SetHandler(int signal, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigaction(signal, &action, nullptr);
}

}  // namespace

Interruptible::Interruptible() {
    for (const int signal : kRequests) {
        // SA_RESETHAND lets a second request of a kind do what it always does. System calls are
        // begun again: no caller expects EINTR.
        if (!IsIgnored(signal)) {
            SetHandler(signal, Note, static_cast<int>(SA_RESETHAND) | SA_RESTART);
        }
    }
}

Interruptible::~Interruptible() {
    for (const int signal : kRequests) {
        if (!IsIgnored(signal)) SetHandler(signal, SIG_DFL, 0);
    }
}

bool InterruptionAsked() noexcept { return askedSignal.load(std::memory_order_relaxed) != 0; }

void EndAsAsked() {
    const int signal = askedSignal.load(std::memory_order_relaxed);
    if (signal == 0) return;
    SetHandler(signal, SIG_DFL, 0);
    std::raise(signal);
}

}  // namespace platform
