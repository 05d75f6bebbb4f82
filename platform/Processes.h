// This process and its children.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

[[nodiscard]] std::uint32_t CurrentProcessId();

// Full path of the running program's file; empty when the system cannot tell.
[[nodiscard]] std::string ProgramPath();

// Value of an environment variable; false when it is not set.
[[nodiscard]] bool GetEnvironment(const char* name, std::string& value);

// Gives this process's exit code and ends it at once, without exit registrations. The system
// hands the low 8 bits of the code to the parent.
[[noreturn]] void ExitProcess(std::uint32_t code);

enum class Console {
    Shared,  // the child uses this process's standard streams
    None,    // as Shared: the system opens no window for a console program
};

// Owns one child process. Destroying the object of a running child lets it run on.
class Process {
public:
    static constexpr std::uint32_t kStillRunning = 259;

    Process() noexcept = default;
    Process(Process&& other) noexcept;
    Process& operator=(Process&& other) noexcept;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    // Starts the program that `commandLine` names at its front, with this process's environment
    // and current directory; descriptors other than the standard streams are not inherited.
    //
    // The program's name is the text in quotes when the line begins with a double quote. Else it
    // is the longest leading text, up to a blank or the line's end, that names an existing program
    // file; it ends at the latest before an argument that begins with a quote. The rest is split by
    // the usual rules: blanks separate, double quotes group, 2n backslashes before a quote stand
    // for n, 2n + 1 for n and a literal quote. False when no program is found or it cannot be
    // started.
    [[nodiscard]] bool Start(const char* commandLine, Console console);

    // Waits until the child has ended; -1 waits for ever. False on a time-out, or with no child.
    [[nodiscard]] bool Wait(int milliseconds);

    // kStillRunning while the child runs. A child ended by signal n has the code 128 + n.
    [[nodiscard]] bool GetExitCode(std::uint32_t& code);

    void Close() noexcept;

private:
    // Takes the exit code from the system once the child has ended.
    bool Collect(int waitOptions) noexcept;

    int processId_ = -1;
    bool ended_ = false;
    std::uint32_t exitCode_ = 0;
};

}  // namespace platform
