// Child programs get exactly the command line that was given; the program at its front is found as
// on every system (shared/CommandLine.h) and passed beside it.
#include "platform/Processes.h"

#include <windows.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "platform/shared/CommandLine.h"
#include "platform/windows/Handles.h"
#include "platform/windows/WideText.h"

namespace platform {

using windows::ToDescriptor;
using windows::ToHandle;

namespace {

constexpr int kNoProcess = -1;

// Returns the file that a command line's program means: exactly that, or with ".exe" added.
// Empty if neither exists.
std::wstring ProgramFile(const std::string& program) {
    for (const char* const ending : {"", ".exe"}) {
        std::wstring path = windows::ToSystemPath((program + ending).c_str());
        const DWORD attributes =
            path.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(path.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            return path;
        }
    }
    return {};
}

// The standard streams as a child inherits them, and the list that keeps all other handles from it.
class InheritedStreams {
public:
    InheritedStreams() {
        constexpr std::array kStreams = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
        for (std::size_t i = 0; i < kStreams.size(); ++i) {
            const HANDLE own = GetStdHandle(kStreams.at(i));
            if (own == nullptr || own == INVALID_HANDLE_VALUE) continue;
            DuplicateHandle(GetCurrentProcess(), own, GetCurrentProcess(), &streams_.at(i), 0, TRUE,
                            DUPLICATE_SAME_ACCESS);
            if (streams_.at(i)) listed_.push_back(streams_.at(i));
        }
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        buffer_.resize(size);
        auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(buffer_.data());
        if (!listed_.empty() && InitializeProcThreadAttributeList(list, 1, 0, &size)) {
            info.lpAttributeList = list;
            UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, listed_.data(),
                                      listed_.size() * sizeof(HANDLE), nullptr, nullptr);
        }
        info.StartupInfo.cb = sizeof info;
        info.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        info.StartupInfo.hStdInput = streams_[0];
        info.StartupInfo.hStdOutput = streams_[1];
        info.StartupInfo.hStdError = streams_[2];
    }
    ~InheritedStreams() {
        if (info.lpAttributeList) DeleteProcThreadAttributeList(info.lpAttributeList);
        for (HANDLE stream : listed_) CloseHandle(stream);
    }
    InheritedStreams(const InheritedStreams&) = delete;
    InheritedStreams& operator=(const InheritedStreams&) = delete;

    STARTUPINFOEXW info{};

private:
    std::array<HANDLE, 3> streams_{};
    std::vector<HANDLE> listed_;
    std::vector<std::byte> buffer_;
};

}  // namespace

std::uint32_t CurrentProcessId() { return GetCurrentProcessId(); }

std::string ProgramPath() {
    std::array<wchar_t, 32768> path;
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), path.size());
    return windows::FromSystemPath({path.data(), length});
}

bool GetEnvironment(const char* name, std::string& value) {
    const std::wstring wide = windows::ToWide(name);
    SetLastError(ERROR_SUCCESS);
    const DWORD size = GetEnvironmentVariableW(wide.c_str(), nullptr, 0);
    if (size == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return false;
    std::wstring found(size, L'\0');
    found.resize(GetEnvironmentVariableW(wide.c_str(), found.data(), size));
    value = windows::ToText(found).value_or("");
    return true;
}

void ExitProcess(std::uint32_t code) {
    // The system's ExitProcess would run the end handlers of libraries.
    TerminateProcess(GetCurrentProcess(), code);
    std::abort();
}

bool Process::Start(const char* commandLine, Console console) {
    Close();
    const auto [program, rest] = shared::SplitProgram(
        commandLine, [](const std::string& path) { return !ProgramFile(path).empty(); });
    const std::wstring file = ProgramFile(program);
    if (file.empty()) return false;
    // The system splits the line once more for the child's arguments: what has blanks needs quotes.
    std::wstring line = L'"' + windows::ToWide(program) + L'"' + windows::ToWide(rest);
    InheritedStreams streams;
    PROCESS_INFORMATION started{};
    const DWORD flags =
        EXTENDED_STARTUPINFO_PRESENT | (console == Console::None ? CREATE_NO_WINDOW : 0);
    if (!CreateProcessW(file.c_str(), line.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr,
                        &streams.info.StartupInfo, &started)) {
        return false;
    }
    CloseHandle(started.hThread);
    processId_ = ToDescriptor(started.hProcess);
    return true;
}

bool Process::Wait(int milliseconds) {
    if (processId_ == kNoProcess || ended_) return ended_;
    return Collect(milliseconds);
}

bool Process::GetExitCode(std::uint32_t& code) {
    if (processId_ == kNoProcess) return false;
    code = ended_ || Collect(0) ? exitCode_ : kStillRunning;
    return true;
}

// A program without a window can only be ended; its unfinished results have temporary names.
void Process::RequestEnd() noexcept {
    constexpr UINT kControlCExit = 0xC000013A;
    if (processId_ != kNoProcess && !ended_) {
        TerminateProcess(ToHandle(processId_), kControlCExit);
    }
}

void Process::Close() noexcept {
    if (processId_ != kNoProcess) CloseHandle(ToHandle(processId_));
    processId_ = kNoProcess;
    ended_ = false;
    exitCode_ = 0;
}

// Here the option is the time to wait, in milliseconds.
bool Process::Collect(int waitOptions) noexcept {
    const DWORD time = waitOptions < 0 ? INFINITE : static_cast<DWORD>(waitOptions);
    if (WaitForSingleObject(ToHandle(processId_), time) != WAIT_OBJECT_0) return false;
    DWORD code = 0;
    GetExitCodeProcess(ToHandle(processId_), &code);
    exitCode_ = code;
    ended_ = true;
    return true;
}

}  // namespace platform
