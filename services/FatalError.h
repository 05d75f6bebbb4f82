// The window that reports an error that ended a thread, and the flags around it.
//
// Threads: any. One window shows at a time; errors of other threads in that time are not shown.
#pragma once

#include <memory>

#include "kernel/Exceptions.h"
#include "kernel/SyncObject.h"

namespace Vorn {

// Shows the window. If the user confirms it, or showing it throws, the process counts as
// terminating from then on. A program without the dialog resource shows nothing and continues. The
// window's text also goes to the log and ends it: each line, with its "\r\n", is an error of the
// module "ExceptionHandler".
void ShowFatalError(const Exception& exception);

// Returns whether a fatal error was confirmed. Kernel threads that start later end at once.
[[nodiscard]] bool IsTerminating();

// Keeps the window's lock alive: the first user creates it, the last one deletes it. Every kernel
// thread is a user while it runs.
class FatalErrorUser {
public:
    FatalErrorUser();

    [[nodiscard]] CriticalSection& Lock() const { return *lock_; }

private:
    std::shared_ptr<CriticalSection> lock_;
};

}  // namespace Vorn
