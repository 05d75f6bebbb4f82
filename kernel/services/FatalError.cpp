#include "kernel/services/FatalError.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <string_view>

#include "kernel/services/BuildStamp.h"
#include "kernel/services/Log.h"
#include "platform/Dialogs.h"

namespace Vorn {
namespace {

constexpr int kFatalErrorDialog = 101;
constexpr const char* kLogModule = "ExceptionHandler";

// Before main, so that the log's options find the module.
[[maybe_unused]] const LogModule* const registered = RegisterLogModule(kLogModule);

constinit std::atomic<bool> windowEnabled = true;
constinit std::atomic<bool> terminating = false;

constinit std::mutex sharedLockGuard;
constinit std::weak_ptr<CriticalSection> sharedLock;  // under sharedLockGuard

std::string FatalErrorText(const Exception& exception) {
    std::string text;
    const auto addLine = [&text](const char* label, const std::string& value) {
        text.append(label).append(": ").append(value).append("\r\n");
    };
    if (*exception.GetFile() != '\0') addLine("File", exception.GetFile());
    if (exception.GetLine() > 0) addLine("Line", std::to_string(exception.GetLine()));
    addLine("Class", exception.GetClassName());
    addLine("Reason", exception.GetReason());
    addLine("Version", BuildStamp());
    return text + exception.GetCallStack();
}

void LogLines(std::string_view text) {
    LogModule* module = RegisterLogModule(kLogModule);
    while (!text.empty()) {
        const std::string line(text.substr(0, text.find("\r\n")));
        text.remove_prefix(std::min(line.size() + 2, text.size()));
        LogWrite(module, LogLevel::Err, "%s", line.c_str());
    }
}

std::string ReportFatalError(const Exception& exception) {
    std::string text;
    try {
        text = FatalErrorText(exception);
        LogLines(text);
    } catch (...) {
        text = "Problem creating exception report";
    }
    ShutdownLog();
    return text;
}

// True when the process is to end.
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
