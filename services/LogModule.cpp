#include "services/LogModule.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "kernel/LetterCase.h"

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

constexpr std::array<const char*, 5> kLevelNames = {"None", "Err ", "Warn", "Diag", "Prog"};
constexpr std::string_view kMarks = " !?+-";
static_assert(kMarks.size() == kLevelNames.size());

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
    const std::string lower = AsciiLowered(word);
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

std::string LogPrefix(LogLevel level, std::uint32_t threadId, double seconds,
                      const std::string& moduleName) {
    const auto time = static_cast<float>(seconds);
    // Converted through an integer, because rounding may give -0, which would print as "-0".
    const auto minutes = static_cast<float>(std::lrint(time / 60.0F - 0.5F));
    const float rest = time - 60.0F * minutes;
    const auto row = static_cast<std::size_t>(level);
    std::array<char, 128> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%c %08X %s %3.0f:%04.1f %-15.15s : ", kMarks[row],
                      threadId, kLevelNames[row], static_cast<double>(minutes),
                      static_cast<double>(rest), moduleName.c_str());
    return {text.data(), static_cast<std::size_t>(std::max(length, 0))};
}

}  // namespace Vorn
