#include "services/LogModule.h"

#include <algorithm>
#include <array>

#include "kernel/Paths.h"

namespace Vorn {
namespace {

struct LevelWord {
    std::string_view word;
    LogLevel level;
};
constexpr std::array<LevelWord, 5> kLevelWords = {{{"err", LogLevel::Err},
                                                   {"warn", LogLevel::Warn},
                                                   {"diag", LogLevel::Diag},
                                                   {"prog", LogLevel::Prog},
                                                   {"none", LogLevel::None}}};

void SetFlag(std::atomic<std::uint32_t>& flags, std::uint32_t flag, bool on) {
    if (on) {
        flags |= flag;
    } else {
        flags &= ~flag;
    }
}

}  // namespace

LogModule::LogModule(std::string_view name, bool prefix)
    : name_(name), format_(kLogNewlines | (prefix ? kLogPrefix : 0)) {}

void LogModule::Configure(std::string_view word) {
    std::string lower(word);
    std::ranges::transform(lower, lower.begin(), AsciiToLower);
    const auto level = std::ranges::find(kLevelWords, lower, &LevelWord::word);
    if (level != kLevelWords.end()) {
        level_ = level->level;
        return;
    }
    const std::size_t equals = std::min(lower.find('='), lower.size());
    const std::string_view flag = std::string_view(lower).substr(0, equals);
    const bool on = std::string_view(lower).substr(equals) != "=off";
    if (flag == "mono") SetFlag(sinks_, kLogToDebugger, on);
    if (flag == "window") SetFlag(sinks_, kLogToWindow, on);
    if (flag == "file") SetFlag(sinks_, kLogToFile, on);
    if (flag == "newlines") SetFlag(format_, kLogNewlines, on);
    if (flag == "displaymodulename") SetFlag(format_, kLogPrefix, on);
}

void LogModule::ShowPrefix(bool show) { SetFlag(format_, kLogPrefix, show); }

}  // namespace Vorn
