#include "services/LogLine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace Vorn {
namespace {

constexpr std::array<const char*, 5> kLevelNames = {"None", "Err ", "Warn", "Diag", "Prog"};
constexpr std::string_view kMarks = " !?+-";
static_assert(kMarks.size() == kLevelNames.size());

}  // namespace

std::string LogPrefix(LogLevel level, std::uint32_t threadId, double seconds,
                      const std::string& moduleName) {
    const auto time = static_cast<float>(seconds);
    // Through an integer, for there is a -0 among the rounded numbers.
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
