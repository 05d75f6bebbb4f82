#include "converter/Progress.h"

#include <cstdio>

#include "platform/Clock.h"
#include "platform/Terminal.h"

namespace converter {

namespace {

constexpr std::uint32_t kIntervalMilliseconds = 250;

}  // namespace

Progress::Progress()
    : shown_(platform::IsTerminal(platform::StandardStream::Error) &&
             !platform::IsTerminal(platform::StandardStream::Output)) {}

Progress::~Progress() {
    if (shown_ && members_ > 0) std::fputs("\r\033[K", stderr);
}

void Progress::Step() {
    ++members_;
    if (!shown_) return;
    const std::uint32_t now = platform::TickMilliseconds();
    if (members_ > 1 && now - lastShown_ < kIntervalMilliseconds) return;
    lastShown_ = now;
    std::fprintf(stderr, "\r%u members\033[K", members_);
}

}  // namespace converter
