// This process and its children.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

[[nodiscard]] std::uint32_t CurrentProcessId();

// Returns the full path of the running program's file; empty if it is unknown.
[[nodiscard]] std::string ProgramPath();

// Sets `value` to that of an environment variable; false if it is not set.
[[nodiscard]] bool GetEnvironment(const char* name, std::string& value);

// Ends the process at once with that exit code, without running exit handlers. A POSIX system
// passes the low 8 bits of the code to the parent.
[[noreturn]] void ExitProcess(std::uint32_t code);

enum class Console {
    Shared,  // the child uses this process's standard streams
    None,    // the child gets no console window; as Shared on systems that open none
};

// Owns one child process. Destroying the object does not end a running child.
class Process {
public:
    static constexpr std::uint32_t kStillRunning = 259;

    Process() noexcept = default;
    Process(Process&& other) noexcept;
    Process& operator=(Process&& other) noexcept;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    // Starts the program at the front of `commandLine` with this process's environment and current
    // directory. The child inherits the standard streams only.
    //
    // If the line begins with a double quote, the program's name is the quoted text. Else it is the
    // longest leading text that ends at a blank or the line's end and names an existing program
    // file; it never extends over an argument that begins with a quote. The rest is split by the
    // usual rules: blanks separate, double quotes group, 2n backslashes before a quote mean n, and
    // 2n + 1 mean n and a literal quote. False if no program is found or it does not start.
    [[nodiscard]] bool Start(const char* commandLine, Console console);

    // Waits until the child has ended; -1 waits indefinitely. False on a time-out or without a
    // child.
    [[nodiscard]] bool Wait(int milliseconds);

    // Sets `code` to the exit code, or kStillRunning. A child ended by signal n has code 128 + n.
    // False without a child.
    [[nodiscard]] bool GetExitCode(std::uint32_t& code);

    // Asks a child that still runs to end, as a user who stops a program does.
    void RequestEnd() noexcept;

    void Close() noexcept;

private:
    // Fetches the exit code from the system. False while the child runs.
    bool Collect(int waitOptions) noexcept;

    int processId_ = -1;
    bool ended_ = false;
    std::uint32_t exitCode_ = 0;
};

}  // namespace platform
