// One named channel of the log: which messages it takes, where it writes them, and in what format.
//
// Threads: any; a change applies to lines that begin after it.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace Vorn {

// A message is written when its level is not above its module's.
enum class LogLevel : int { None = 0, Err = 1, Warn = 2, Diag = 3, Prog = 4 };

inline constexpr std::uint32_t kLogToFile = 1;
inline constexpr std::uint32_t kLogToDebugger = 2;
inline constexpr std::uint32_t kLogToWindow = 8;  // kept; there is no window

inline constexpr std::uint32_t kLogNewlines = 1;  // "\r\n" after each line
inline constexpr std::uint32_t kLogPrefix = 2;    // level, thread, time and module before it

class LogModule {
public:
    // Starts with warnings and errors, to the file and the debugger.
    LogModule(std::string_view name, bool prefix);

    [[nodiscard]] const std::string& Name() const { return name_; }
    [[nodiscard]] LogLevel Level() const { return level_; }
    [[nodiscard]] std::uint32_t Sinks() const { return sinks_; }
    [[nodiscard]] std::uint32_t Format() const { return format_; }

    // Applies a level word ("Err", "Warn", "Diag", "Prog", "None") or a flag word ("mono" for the
    // debugger, "window", "newlines", "displaymodulename", "file"). "=off" after a flag word clears
    // the flag, anything else sets it. Ignores letter case and unknown words.
    void Configure(std::string_view word);
    void ShowPrefix(bool show);

private:
    friend class LogFile;

    std::string name_;
    std::atomic<LogLevel> level_ = LogLevel::Warn;
    std::atomic<std::uint32_t> sinks_ = kLogToFile | kLogToDebugger;
    std::atomic<std::uint32_t> format_ = kLogNewlines;
    bool busy_ = false;  // writing to the file, whose lock guards this
};

// Returns the start of a line, such as "! 0000002A Err    1:30.0 ExceptionHandle : ": the level's
// mark, the thread, the level, minutes and seconds since the log began, and the module's name in 15
// characters. `seconds` is the time since the log began. Its minutes are seconds / 60 - 0.5
// rounded, ties to even, so that exactly 60 seconds print as 0:60.0.
[[nodiscard]] std::string LogPrefix(LogLevel level, std::uint32_t threadId, double seconds,
                                    const std::string& moduleName);

}  // namespace Vorn
