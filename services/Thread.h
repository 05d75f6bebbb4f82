// A kernel thread: runs one function inside the kernel's guard (ThreadEntry).
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "kernel/SyncObject.h"

namespace Vorn {

using ThreadFunction = std::uint32_t (*)(void* argument);

// Waiting on the object waits for the thread to end; its handle for waits on several objects is
// the stop event, which the destructor sets. A function that is to stop on request waits on it.
//
// The function may use its Thread object from its first line on. Any thread may call any operation,
// except that the destructor must run on another thread than its own.
class Thread final : public SyncObject {
public:
    // With `startNow` false the thread is created suspended.
    Thread(ThreadFunction function, void* argument, bool startNow);

    // Sets the stop event, resumes a suspended thread and waits for its end without time limit.
    ~Thread() override;

    [[nodiscard]] platform::Waitable* GetHandle() override { return stopEvent_.GetHandle(); }

    // False when the system could not create the thread; then all else does nothing.
    [[nodiscard]] bool IsValid() const { return thread_ != nullptr; }
    // True from construction until the function has returned.
    [[nodiscard]] bool IsRunning() const { return running_; }
    // False until the thread has ended.
    [[nodiscard]] bool GetExitCode(std::uint32_t& code) const;

    // 0 is normal, above runs sooner, below later, in -15 to 15. False when the system refuses.
    bool SetPriority(int priority);
    // Lets a suspended thread run; true unless the system reports failure.
    bool Resume();

    // Calls the function on the calling thread; for ThreadEntry.
    [[nodiscard]] std::uint32_t CallFunction() { return function_(argument_); }

    [[nodiscard]] static std::uint32_t CurrentThreadId();

private:
    ThreadFunction function_;
    void* argument_;
    WEvent stopEvent_{false, false, nullptr};
    std::atomic<bool> running_ = true;
    std::shared_ptr<platform::Thread> thread_;
};

// Thrown where an assertion has failed and was reported already: it ends its thread quietly.
class AssertEx {};

// Calls the thread's function and returns its result. A kernel exception that leaves the function
// is shown as a fatal error; that, and an AssertEx, make the result 0. So does a process that is
// terminating: then the function is not called. Running out of memory ends the process with 1
// (EndWithoutMemory) and leaves no crash report: it is no error of the program. A fault of the
// processor, and any other exception that nobody catches, leave a crash report (CrashReport.h).
[[nodiscard]] std::uint32_t ThreadEntry(Thread& thread);

}  // namespace Vorn
