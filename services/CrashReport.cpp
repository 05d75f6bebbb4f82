#include "services/CrashReport.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/Clock.h"
#include "platform/Debugger.h"
#include "platform/Directories.h"
#include "platform/Dumps.h"
#include "platform/Processes.h"
#include "platform/SystemInfo.h"
#include "services/CrashReportFile.h"
#include "services/CrashReportText.h"
#include "services/Log.h"

namespace Vorn {
namespace {

using platform::Fault;
using platform::FaultAnswer;

constexpr char kReportName[] = "ERRORLOG.TXT";
constexpr char kDumpName[] = "CRASH.DMP";
constexpr char kReporterName[] = "XCrashReport.exe";
constexpr char kUnknown[] = "Unknown";

constexpr std::size_t kLongestTemporaryDirectory = 520;

// A path is empty where it would be too long.
struct Surroundings {
    CrashedProgram program;
    FixedText<CrashedProgram::kLongestPath + sizeof(kReporterName)> reporterPath;
    FixedText<kLongestTemporaryDirectory + sizeof(kReportName)> reportPath;
    FixedText<kLongestTemporaryDirectory + sizeof(kDumpName)> dumpPath;
};
constinit Surroundings surroundings;

std::terminate_handler previousTerminate = nullptr;

enum class Progress { None, Writing, Written };
constinit std::atomic<Progress> progress = Progress::None;

std::int64_t UtcOffset() {
    using namespace std::chrono;
    const std::int64_t now = platform::WallClockSeconds();
    const platform::LocalTime local = platform::ToLocalTime(now);
    const sys_days day = year(local.year) / local.month / local.day;
    const auto time = day + hours(local.hour) + minutes(local.minute) + seconds(local.second);
    return time.time_since_epoch().count() - now;
}

void FindSurroundings() {
    std::string program = platform::ProgramPath();
    if (program.empty()) program = kUnknown;
    program.resize(std::min(program.size(), CrashedProgram::kLongestPath));
    surroundings.program.path.Set(program);
    const std::string_view name = FileNameOf(program);
    surroundings.program.name.Set(name);
    const std::string directory = program.substr(0, program.size() - name.size());
    if (!directory.empty()) surroundings.reporterPath.Set(directory + kReporterName);

    const std::string temporary = platform::TemporaryDirectory();
    if (temporary.size() <= kLongestTemporaryDirectory) {
        surroundings.reportPath.Set(temporary + kReportName);
        surroundings.dumpPath.Set(temporary + kDumpName);
    }
    const std::string user = platform::UserName();
    surroundings.program.user.Set(user.empty() ? kUnknown : user);
    surroundings.program.utcOffset = UtcOffset();
}

[[noreturn]] void OnTerminate() {
    if (platform::IsGuarded() && std::current_exception()) {
        platform::DebugOutput("ExceptionHandlerXCrashReport> raising exception\r\n");
        platform::RaiseFault(platform::kFaultUncaughtException);
    }
    previousTerminate();
    std::abort();
}

bool WriteText(const Fault& fault) {
    CrashReportFile report;
    if (!report.Create(surroundings.reportPath.Get())) return false;
    PrintCrashReport(report, fault, surroundings.program);
    report.Print("\r\n===== [end of %s] =====\r\n", kReportName);
    report.Flush();
    return true;
}

void WriteDump(const Fault& fault) {
    platform::FaultFile file;
    if (!file.Create(surroundings.dumpPath.Get(), false)) return;
    platform::DebugOutput("ExceptionHandlerXCrashReport> writing minidump\r\n");
    platform::WriteMiniDump(file, fault);
}

FaultAnswer Report(const Fault& fault) {
    if (!WriteText(fault)) {
        platform::DebugOutput("Error creating exception report\r\n");
        return FaultAnswer::PassOn;
    }
    WriteDump(fault);
    ShutdownLogAfterFault();
    const bool started =
        !platform::IsDebuggerPresent() &&
        platform::StartProgram(surroundings.reporterPath.Get(), surroundings.program.name.Get());
    return started ? FaultAnswer::EndProcess : FaultAnswer::PassOn;
}

// Waits for the report of another thread: passing a fault on usually ends the process, and would
// cut that report off.
void AwaitReport() {
    constexpr std::uint32_t kStep = 10;
    constexpr std::uint32_t kLongest = 30000;
    for (std::uint32_t waited = 0; progress == Progress::Writing && waited < kLongest;
         waited += kStep) {
        platform::SleepMilliseconds(kStep);
    }
}

}  // namespace

void PrepareCrashReport() {
    static std::once_flag prepared;
    std::call_once(prepared, [] {
        FindSurroundings();
        previousTerminate = std::set_terminate(OnTerminate);
    });
}

FaultAnswer WriteCrashReport(const Fault& fault) {
    Progress none = Progress::None;
    if (!progress.compare_exchange_strong(none, Progress::Writing)) {
        AwaitReport();
        return FaultAnswer::PassOn;
    }
    const FaultAnswer answer = Report(fault);
    // With EndProcess the state stays Writing, so that other faulted threads wait for the end.
    if (answer == FaultAnswer::PassOn) progress = Progress::Written;
    return answer;
}

}  // namespace Vorn
