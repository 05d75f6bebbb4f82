#include "tools/va/Run.h"

#include <algorithm>
#include <thread>

#include "platform/Interruption.h"

namespace va::tool {
namespace {

ProgressMode ModeOf(const Arguments& arguments) {
    const std::string when = arguments.Value(kProgress).value_or("auto");
    if (when == "always") return ProgressMode::Always;
    if (when == "json") return ProgressMode::Json;
    // -q suppresses automatic progress too; an explicit "always" or "json" wins.
    return when == "never" || arguments.Has(kQuiet) ? ProgressMode::Never : ProgressMode::Auto;
}

}  // namespace

Run::Run(const Arguments& arguments)
    : arguments_(arguments),
      progress_(ModeOf(arguments)),
      talk(arguments.Count(kQuiet), arguments.Has(kVerbose), progress_),
      answer(arguments.Has(kJson), arguments.GetCommand().words) {}

unsigned Run::Jobs() const {
    // Bounds the memory of worker threads.
    constexpr std::uint64_t kMostJobs = 256;
    if (const auto jobs = Value(kJobs)) {
        return static_cast<unsigned>(NumberValue(kJobs, *jobs, 1, kMostJobs));
    }
    return std::clamp(std::thread::hardware_concurrency(), 1U, static_cast<unsigned>(kMostJobs));
}

bool Run::ShowProgress(std::string_view step, std::uint64_t done, std::uint64_t total) {
    progress_.Show(step, done, total);
    return !platform::InterruptionAsked();
}

}  // namespace va::tool
