#include "services/FatalError.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Dialogs.h"
#include "platform/Lock.h"
#include "services/BuildStamp.h"
#include "services/Log.h"

namespace Vorn {
namespace {

constexpr int kFatalErrorDialog = 101;
constexpr const char* kLogModule = "ExceptionHandler";

// Registered before main, so that the log's options find the module.
[[maybe_unused]] const LogModule* const registered = RegisterLogModule(kLogModule);

constinit std::atomic<bool> windowEnabled = true;
constinit std::atomic<bool> terminating = false;

constinit platform::Lock sharedLockGuard;
constinit std::weak_ptr<CriticalSection> sharedLock;  // under sharedLockGuard

// Returns the lines with their line ends. The call stack, of several lines, is one of them.
std::vector<std::string> FatalErrorLines(const Exception& exception) {
    std::vector<std::string> lines;
    const auto add = [&lines](const char* label, const std::string& value) {
        lines.push_back(std::string(label).append(": ").append(value).append("\r\n"));
    };
    if (*exception.GetFile() != '\0') add("File", exception.GetFile());
    if (exception.GetLine() > 0) add("Line", std::to_string(exception.GetLine()));
    add("Class", exception.GetClassName());
    add("Reason", exception.GetReason());
    add("Version", BuildStamp());
    if (*exception.GetCallStack() != '\0') lines.emplace_back(exception.GetCallStack());
    return lines;
}

std::string ReportFatalError(const Exception& exception) {
    std::string text;
    try {
        LogModule* module = RegisterLogModule(kLogModule);
        for (const std::string& line : FatalErrorLines(exception)) {
            text += line;
            LogWrite(module, LogLevel::Err, "%s", line.c_str());
        }
    } catch (...) {
        text = "Problem creating exception report";
    }
    ShutdownLog();
    return text;
}

// Returns whether the process is to end.
bool ShowWindow(const Exception& exception) {
    try {
        return platform::ShowDialog(kFatalErrorDialog, [&] {
                   return ReportFatalError(exception);
               }) == platform::DialogResult::Confirmed;
    } catch (...) {
        platform::ShowErrorBox("Fatal Error",
                               "An error occurred trying to display the fatal error window! (0)");
        return true;
    }
}

}  // namespace

FatalErrorUser::FatalErrorUser() {
    const std::lock_guard guard(sharedLockGuard);
    lock_ = sharedLock.lock();
    if (!lock_) {
        lock_ = std::make_shared<CriticalSection>("FatalError");
        sharedLock = lock_;
    }
}

void ShowFatalError(const Exception& exception) {
    if (!windowEnabled.exchange(false)) return;
    const FatalErrorUser user;
    const ScopedLock held(user.Lock());
    if (!terminating && ShowWindow(exception)) terminating = true;
    windowEnabled = !terminating;
}

bool IsTerminating() { return terminating; }

}  // namespace Vorn
