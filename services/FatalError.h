// The window that tells the user of an error that ended a thread, and the flags around it.
//
// Threads: every operation, any thread. However many threads fail at once, one window shows at a
// time; the failures of the others meanwhile are not shown.
#pragma once

#include <memory>

#include "kernel/Exceptions.h"
#include "kernel/SyncObject.h"

namespace Vorn {

// Shows the window. When the user confirms it, or it cannot be shown because showing fails with an
// exception, the process counts as terminating from then on. A program without the dialog resource
// shows nothing and goes on. What the window says also goes to the log and ends it: each line, with
// its "\r\n", is an error of the module "ExceptionHandler".
void ShowFatalError(const Exception& exception);

// Whether a fatal error was confirmed. Kernel threads that start afterwards end at once.
[[nodiscard]] bool IsTerminating();

// Keeps the lock around the window alive: the first user creates it, the last one deletes it.
// Every kernel thread is one while it runs.
class FatalErrorUser {
public:
    FatalErrorUser();

    [[nodiscard]] CriticalSection& Lock() const { return *lock_; }

private:
    std::shared_ptr<CriticalSection> lock_;
};

}  // namespace Vorn
