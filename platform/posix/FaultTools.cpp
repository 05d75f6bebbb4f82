#include "platform/FaultTools.h"

#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace platform {
namespace {

// A pipe whose ends no other program inherits; both are -1 when the system has none left.
class Pipe {
public:
    Pipe() noexcept {
        if (pipe2(ends_, O_CLOEXEC) != 0) ends_[0] = ends_[1] = -1;
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        close(ends_[0]);
        CloseInput();
    }
    [[nodiscard]] int Output() const noexcept { return ends_[0]; }
    [[nodiscard]] int Input() const noexcept { return ends_[1]; }
    void CloseInput() noexcept {
        close(ends_[1]);
        ends_[1] = -1;
    }

private:
    int ends_[2];
};

ssize_t ReadPipe(const Pipe& pipe, std::span<std::byte> into) {
    ssize_t count = 0;
    do {
        count = read(pipe.Output(), into.data(), into.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

// Runs in the child: becomes the program, or ends. Unblocks the signals that are blocked while a
// fault is handled; the program would inherit that.
[[noreturn]] void Become(const char* path, const char* argument, int failure) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execl(path, path, argument, static_cast<const char*>(nullptr));
    [[maybe_unused]] const ssize_t told = write(failure, "!", 1);
    _exit(127);
}

}  // namespace

FaultFile::~FaultFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

bool FaultFile::Create(const char* path, bool writeThrough) {
    constexpr mode_t kOwnerOnly = 0600;
    unlink(path);
    // O_EXCL also refuses to write through a link that another user may have put there.
    descriptor_ = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | (writeThrough ? O_SYNC : 0),
                       kOwnerOnly);
    return descriptor_ >= 0;
}

bool FaultFile::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written =
            pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        offset += static_cast<std::uint64_t>(written);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

// Writing unreadable memory to a pipe fails instead of faulting, and unlike other ways it works in
// every sandbox. Writes of up to PIPE_BUF bytes are all or nothing.
std::size_t ReadMemory(std::uint64_t address, std::span<std::byte> into) {
    const Pipe pipe;
    std::size_t done = 0;
    while (done < into.size()) {
        const std::uint64_t from = address + done;
        const std::size_t toPageEnd = PIPE_BUF - from % PIPE_BUF;
        const std::size_t size = std::min(into.size() - done, toPageEnd);
        // NOLINTNEXTLINE(performance-no-int-to-ptr): whether there is memory is the question
        const auto written = write(pipe.Input(), reinterpret_cast<const void*>(from), size);
        if (written != static_cast<ssize_t>(size) ||
            ReadPipe(pipe, into.subspan(done, size)) != written) {
            break;
        }
        done += size;
    }
    return done;
}

bool StartProgram(const char* path, const char* argument) {
    Pipe failure;
    // fork would run handlers that lock; another, stopped thread may hold those locks.
    const pid_t child = failure.Input() < 0 ? -1 : _Fork();
    if (child < 0) return false;
    if (child == 0) Become(path, argument, failure.Input());
    failure.CloseInput();
    std::array<std::byte, 1> sign;
    // A successful start closes the pipe without a byte.
    if (ReadPipe(failure, sign) == 0) return true;
    waitpid(child, nullptr, 0);
    return false;
}

}  // namespace platform
