#include "platform/posix/OtherThreads.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "platform/posix/FaultContext.h"
#include "platform/posix/RawFiles.h"

namespace platform::posix {
namespace {

// Ignored by default, so a signal that arrives after our handler is gone does no harm.
constexpr int kStopSignal = SIGURG;
constexpr int kMostPauses = 1000;

struct Slot {
    std::atomic<std::uint32_t> id;
    std::atomic<const void*> context;
    bool isBlocking = false;  // the signal, so waiting for it is useless
};

// Static because a signal handler gets no argument of ours. All returns `found`.
constinit std::array<Slot, OtherThreads::kMost> slots;
constinit std::atomic<std::size_t> slotCount = 0;
constinit std::array<OtherThread, OtherThreads::kMost> found;
constinit struct sigaction previousAction {};

// Odd while threads must stay stopped. Counted, so that a thread that is slow to notice the end of
// one stop does not stay for the next.
constinit std::atomic<std::uint32_t> stops = 0;

void PauseOneMillisecond() {
    constexpr timespec kPause{.tv_sec = 0, .tv_nsec = 1'000'000};
    nanosleep(&kPause, nullptr);
}

void OnStop(int /*number*/, siginfo_t* /*signal*/, void* context) {
    const int error = errno;
    const std::uint32_t mine = stops;
    if (mine % 2 == 1) {
        const auto id = static_cast<std::uint32_t>(gettid());
        const auto end = slots.begin() + static_cast<std::ptrdiff_t>(slotCount.load());
        const auto slot =
            std::find_if(slots.begin(), end, [id](const Slot& s) { return s.id == id; });
        if (slot != end) {
            slot->context = context;
            while (stops == mine) PauseOneMillisecond();
        }
    }
    errno = error;
}

// Adds the threads that are not in the list yet and returns whether there were any.
bool AddThreads() {
    const int folder = open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return false;
    const auto self = static_cast<std::uint32_t>(gettid());
    const std::size_t before = slotCount;
    alignas(dirent64) std::array<char, 4096> entries;
    ssize_t size = 0;
    while ((size = getdents64(folder, entries.data(), entries.size())) > 0) {
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            const auto* const entry = reinterpret_cast<const dirent64*>(entries.data() + at);
            at += entry->d_reclen;
            const std::string_view name(entry->d_name);
            std::uint32_t id = 0;
            std::from_chars(name.data(), name.data() + name.size(), id);
            const std::size_t count = slotCount;
            const auto end = slots.begin() + static_cast<std::ptrdiff_t>(count);
            if (id == 0 || id == self || count == slots.size() ||
                std::any_of(slots.begin(), end, [id](const Slot& slot) { return slot.id == id; })) {
                continue;
            }
            slots[count].id = id;
            slots[count].context = nullptr;
            slotCount = count + 1;
        }
    }
    close(folder);
    return slotCount != before;
}

// Returns whether a thread blocks the signal. Call before sending it: the handler blocks it, too.
bool Blocks(std::uint32_t id) {
    constexpr int kHexadecimal = 16;
    constexpr std::string_view kLabel = "SigBlk:\t";
    std::array<char, 64> path;
    std::snprintf(path.data(), path.size(), "/proc/self/task/%u/status", id);
    std::array<char, 4096> buffer;
    std::string_view text = ReadText(path.data(), buffer);
    text.remove_prefix(std::min(text.find(kLabel), text.size()));
    text.remove_prefix(std::min(kLabel.size(), text.size()));
    std::uint64_t blocked = 0;
    std::from_chars(text.data(), text.data() + text.size(), blocked, kHexadecimal);
    return (blocked >> (kStopSignal - 1U) & 1U) != 0;
}

bool HaveAllStopped() {
    const auto end = slots.begin() + static_cast<std::ptrdiff_t>(slotCount.load());
    return std::all_of(slots.begin(), end,
                       [](const Slot& slot) { return slot.context || slot.isBlocking; });
}

// Threads can start others until they are stopped, so reads the list until it stays the same.
void StopThreads() {
    slotCount = 0;
    ++stops;
    int pauses = 0;
    std::size_t signalled = 0;
    while (AddThreads()) {
        for (; signalled < slotCount; ++signalled) {
            Slot& slot = slots[signalled];
            slot.isBlocking = Blocks(slot.id);
            if (slot.isBlocking) continue;
            tgkill(getpid(), static_cast<pid_t>(slot.id.load()), kStopSignal);
        }
        for (; !HaveAllStopped() && pauses < kMostPauses; ++pauses) PauseOneMillisecond();
    }
}

// Finds the stack pointer and instruction of a thread that was not stopped: for a thread in a
// system call they are the last two numbers of its "syscall" file.
void FindPlace(OtherThread& thread) {
    std::array<char, 64> path;
    std::snprintf(path.data(), path.size(), "/proc/self/task/%u/syscall", thread.id);
    std::array<char, 256> buffer;
    std::string_view text = ReadText(path.data(), buffer);
    text = text.substr(0, text.find('\n'));
    const auto takeLast = [&text] {
        constexpr int kHexadecimal = 16;
        const std::size_t prefix = text.rfind("0x");
        std::uint64_t number = 0;
        if (prefix == std::string_view::npos) return number;
        std::from_chars(text.data() + prefix + 2, text.data() + text.size(), number, kHexadecimal);
        text = text.substr(0, prefix);
        return number;
    };
    thread.instruction = takeLast();
    thread.stackPointer = takeLast();
}

}  // namespace

OtherThreads::OtherThreads() noexcept {
    struct sigaction action {};
    action.sa_sigaction = OnStop;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigfillset(&action.sa_mask);
    sigaction(kStopSignal, &action, &previousAction);
    StopThreads();
    for (std::size_t i = 0; i < slotCount; ++i) {
        found[i] = {.id = slots[i].id, .context = slots[i].context};
        if (!found[i].context) {
            FindPlace(found[i]);
        } else {
            const ThreadPlace place = PlaceOf(found[i].context);
            found[i].stackPointer = place.stackPointer;
            found[i].instruction = place.instruction;
        }
    }
}

OtherThreads::~OtherThreads() {
    ++stops;
    sigaction(kStopSignal, &previousAction, nullptr);
}

std::span<const OtherThread> OtherThreads::All() const noexcept {
    return std::span(found).first(slotCount);
}

}  // namespace platform::posix
