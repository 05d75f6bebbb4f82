#include "kernel/services/FatalError.h"

#include <atomic>
#include <mutex>
#include <string>

#include "platform/Dialogs.h"

namespace Vorn {
namespace {

constexpr int kFatalErrorDialog = 101;

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
    return text + exception.GetCallStack();
}

// True when the process is to end.
bool ShowWindow(const Exception& exception) {
    try {
        return platform::ShowDialog(kFatalErrorDialog, [&] { return FatalErrorText(exception); }) ==
               platform::DialogResult::Confirmed;
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
