#include "tools/archive/FileProgress.h"

#include <cstdio>

#include "platform/Clock.h"
#include "platform/Terminal.h"

namespace Vorn {
namespace {

constexpr std::uint32_t kReportInterval = 200;  // milliseconds

[[nodiscard]] float PercentOf(std::uint32_t part, std::uint32_t whole) {
    return whole == 0 ? 0.0F : static_cast<float>(part * 100.0 / whole);
}

}  // namespace

void FileProgress::FinishFile() {
    startTime_ = platform::TickMilliseconds();
    lastReport_ = 0;
    std::printf("\n");
}

// The forms of the lines are fixed.
void FileProgress::ShowWritten(std::uint32_t bytesConsumed, std::uint32_t bytesWritten,
                               bool longForm) {
    const std::uint32_t elapsed = platform::TickMilliseconds() - startTime_;
    const float ratio = PercentOf(bytesWritten, bytesConsumed);
    const float percent = PercentOf(bytesConsumed, total_);
    if (lastReport_ != 0 && percent < 100 && elapsed - lastReport_ < kReportInterval) return;
    lastReport_ = elapsed;
    if (longForm) {
        std::printf("\rAdd: %5uk %3.0f%% %5dkbs", bytesConsumed >> 10, static_cast<double>(ratio),
                    static_cast<int>(elapsed == 0 ? 0 : bytesConsumed / elapsed));
    } else if (bytesWritten == 0) {
        std::printf("\rAdd: %5uk", bytesConsumed >> 10);
    } else {
        std::printf("\rAdd: %5uk %3.0f%%", (total_ - (bytesConsumed - bytesWritten)) >> 10,
                    static_cast<double>(percent < 100 ? percent : ratio));
    }
    ShowNow();
}

void FileProgress::ShowNow() {
    static const bool watched = platform::IsTerminal(platform::StandardStream::Output);
    if (watched) std::fflush(stdout);
}

}  // namespace Vorn
