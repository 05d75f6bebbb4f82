#include "tools/va/ProgressLine.h"

#include <cstdio>

#include "platform/Terminal.h"
#include "tools/va/Json.h"
#include "tools/va/ShownText.h"

namespace va::tool {
namespace {

using namespace std::chrono_literals;

void Write(const std::string& text) { (void)std::fwrite(text.data(), 1, text.size(), stderr); }

std::string TimeLeft(double seconds) {
    const auto whole = static_cast<std::uint64_t>(seconds + 0.5);
    if (whole < 60) return std::to_string(whole) + " s";
    const std::uint64_t minutes = whole / 60;
    if (minutes < 60) return std::to_string(minutes) + " min " + std::to_string(whole % 60) + " s";
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
}

}  // namespace

ProgressLine::ProgressLine(ProgressMode mode)
    : mode_(mode), next_(Clock::now() + 500ms), stepStart_(Clock::now()) {
    if (mode_ == ProgressMode::Auto) {
        mode_ = platform::IsTerminal(platform::StandardStream::Error) ? ProgressMode::Always
                                                                      : ProgressMode::Never;
    }
}

void ProgressLine::Show(std::string_view step, std::uint64_t done, std::uint64_t total) {
    if (mode_ == ProgressMode::Never) return;
    const Clock::time_point now = Clock::now();
    if (step != step_) {
        step_ = step;
        stepStart_ = now;
    }
    if (now < next_) return;
    next_ = now + 100ms;
    if (mode_ == ProgressMode::Json) {
        Write(
            JsonObject("progress").Set("step", step).Set("done", done).Set("total", total).Line());
    } else {
        Draw(done, total, now);
    }
}

void ProgressLine::Draw(std::uint64_t done, std::uint64_t total, Clock::time_point now) {
    const double seconds = std::chrono::duration<double>(now - stepStart_).count();
    std::string line =
        step_ + "  " + ShownBytes(done) + " of " + ShownBytes(total) + "  " + Percent(done, total);
    // Earlier, the rate would be mostly noise.
    if (done > 0 && seconds > 0.2) {
        const double rate = static_cast<double>(done) / seconds;
        line += "  " + ShownBytes(static_cast<std::uint64_t>(rate)) + "/s";
        if (total > done) {
            line += "  " + TimeLeft(static_cast<double>(total - done) / rate) + " left";
        }
    }
    // A longer line would wrap on a terminal of 80 columns, and "\r" could no longer erase it.
    constexpr std::size_t kMostColumns = 79;
    line.resize(std::min(line.size(), kMostColumns));
    const std::size_t columns = line.size();
    if (columns < columns_) line.append(columns_ - columns, ' ');
    columns_ = columns;
    Write("\r" + line);
}

void ProgressLine::Clear() {
    if (columns_ == 0) return;
    Write("\r" + std::string(columns_, ' ') + "\r");
    columns_ = 0;
}

}  // namespace va::tool
