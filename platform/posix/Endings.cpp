#include "platform/Endings.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <csignal>

#include "platform/posix/PathLookup.h"

namespace platform {
namespace {

constexpr std::array kEndSignals = {SIGHUP, SIGINT, SIGPIPE, SIGTERM};

// Not modified while `doomed` is set: the signal handler may be reading it.
std::array<char, PATH_MAX> doomedPath;
std::atomic<bool> doomed = false;
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void OnEndSignal(int number) {
    if (doomed) unlink(doomedPath.data());
    // SA_RESETHAND has restored the default, so this ends the program once the handler returns.
    raise(number);
}

void HandleEndSignals() {
    for (const int number : kEndSignals) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action.sa_handler = OnEndSignal;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(number, &action, nullptr);
    }
}

}  // namespace

RemovedAtEnd::RemovedAtEnd(const std::string& path) {
    const std::string name = posix::ToSystemPath(path.c_str());
    if (name.size() >= doomedPath.size()) return;  // no file can have it
    std::ranges::copy(name, doomedPath.begin());
    doomedPath[name.size()] = '\0';
    doomed = true;
    HandleEndSignals();
}

RemovedAtEnd::~RemovedAtEnd() { doomed = false; }

}  // namespace platform
