#include "platform/Processes.h"

#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/posix/PathLookup.h"
#include "platform/shared/CommandLine.h"

namespace platform {
namespace {

using posix::FindExistingPath;

constexpr int kNoProcess = -1;

bool IsProgramFile(const std::string& path) {
    const std::string found = FindExistingPath(path.c_str());
    struct stat status {};
    return stat(found.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           access(found.c_str(), X_OK) == 0;
}

// The settings a child starts with: standard streams only, no blocked signals, and the default
// action for SIGXFSZ, which Files.cpp makes this process ignore.
class SpawnSettings {
public:
    SpawnSettings() {
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigaddset(&signals, SIGXFSZ);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    [[nodiscard]] const posix_spawnattr_t* Attributes() const { return &attributes_; }
    [[nodiscard]] const posix_spawn_file_actions_t* Actions() const { return &actions_; }

private:
    posix_spawnattr_t attributes_{};
    posix_spawn_file_actions_t actions_{};
};

// If our parent left SIGCHLD ignored, the system would discard exit codes.
void KeepExitCodesOfChildren() {
    struct sigaction action {};
    if (sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
        action.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, &action, nullptr);
    }
}

// Polls `descriptor` until it is readable; false on a time-out.
bool PollReadable(int descriptor, int milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (int left = milliseconds;;) {
        pollfd request{.fd = descriptor, .events = POLLIN, .revents = 0};
        const int ready = poll(&request, 1, left);
        if (ready >= 0 || errno != EINTR) {
            return ready > 0;
        }
        const auto rest =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        left = std::max(0, static_cast<int>(rest.count()));
    }
}

std::uint32_t ToExitCode(int status) {
    constexpr int kSignalBase = 128;
    return static_cast<std::uint32_t>(WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status)
                                                          : WEXITSTATUS(status));
}

}  // namespace

std::uint32_t CurrentProcessId() { return static_cast<std::uint32_t>(getpid()); }

std::string ProgramPath() {
    constexpr std::string_view kDeletedMark = " (deleted)";
    std::error_code error;
    std::string path = std::filesystem::read_symlink("/proc/self/exe", error).string();
    // The system appends this to the path once the file is removed or replaced.
    if (path.ends_with(kDeletedMark) && access(path.c_str(), F_OK) != 0) {
        path.resize(path.size() - kDeletedMark.size());
    }
    return path;
}

bool GetEnvironment(const char* name, std::string& value) {
    const char* const found = std::getenv(name);
    if (!found) {
        return false;
    }
    value = found;
    return true;
}

void ExitProcess(std::uint32_t code) { _exit(static_cast<int>(code)); }

bool Process::Start(const char* commandLine, Console /*console*/) {
    Close();
    const auto [program, rest] = shared::SplitProgram(commandLine, IsProgramFile);
    if (program.empty() || !IsProgramFile(program)) {
        return false;
    }
    std::vector<std::string> arguments = shared::SplitArguments(rest);
    arguments.insert(arguments.begin(), program);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);

    KeepExitCodesOfChildren();
    const SpawnSettings settings;
    pid_t started = kNoProcess;
    if (posix_spawn(&started, FindExistingPath(program.c_str()).c_str(), settings.Actions(),
                    settings.Attributes(), pointers.data(), environ) != 0) {
        return false;
    }
    processId_ = started;
    return true;
}

bool Process::Wait(int milliseconds) {
    if (processId_ == kNoProcess || ended_) {
        return ended_;
    }
    if (milliseconds >= 0) {
        const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, processId_, 0));
        if (descriptor < 0) {  // systems before Linux 5.3
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
            return Collect(WNOHANG);
        }
        const bool ended = PollReadable(descriptor, milliseconds);
        close(descriptor);
        return ended && Collect(0);
    }
    return Collect(0);
}

bool Process::GetExitCode(std::uint32_t& code) {
    if (processId_ == kNoProcess) {
        return false;
    }
    code = ended_ || Collect(WNOHANG) ? exitCode_ : kStillRunning;
    return true;
}

void Process::RequestEnd() noexcept {
    if (processId_ != kNoProcess && !ended_) {
        kill(processId_, SIGTERM);
    }
}

void Process::Close() noexcept {
    if (processId_ != kNoProcess && !ended_) {
        (void)Collect(WNOHANG);
    }
    processId_ = kNoProcess;
    ended_ = false;
    exitCode_ = 0;
}

bool Process::Collect(int waitOptions) noexcept {
    int status = 0;
    pid_t collected = 0;
    do {
        collected = waitpid(processId_, &status, waitOptions);
    } while (collected < 0 && errno == EINTR);
    if (collected == 0) {
        return false;
    }
    // A child that other code in this process has waited for has ended, too; its code is lost.
    exitCode_ = collected == processId_ ? ToExitCode(status) : ~std::uint32_t{0};
    ended_ = true;
    return true;
}

}  // namespace platform
