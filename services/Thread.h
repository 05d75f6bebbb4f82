// A kernel thread: runs one function inside the kernel's guard (ThreadEntry, below).
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "kernel/SyncObject.h"

namespace Vorn {

using ThreadFunction = std::uint32_t (*)(void* argument);

// Waiting on the object waits for the thread to end. Its handle for waits on several objects is the
// stop event, which the destructor sets; a function that should stop on request waits for it.
//
// The function may use its Thread object from its first line on. Any thread may call any operation,
// but the destructor must not run on the thread itself.
class Thread final : public SyncObject {
public:
    // Creates the thread suspended if `startNow` is false.
    Thread(ThreadFunction function, void* argument, bool startNow);

    // Sets the stop event, resumes a suspended thread and waits indefinitely for its end.
    ~Thread() override;

    [[nodiscard]] platform::Waitable* GetHandle() override { return stopEvent_.GetHandle(); }

    // Returns false if the system could not create the thread; all other operations then do
    // nothing.
    [[nodiscard]] bool IsValid() const { return thread_ != nullptr; }
    // True from construction until the function has returned.
    [[nodiscard]] bool IsRunning() const { return running_; }
    // Returns false until the thread has ended.
    [[nodiscard]] bool GetExitCode(std::uint32_t& code) const;

    // Sets -15 to 15: 0 is normal, a higher number runs sooner. Returns false if the system
    // refuses.
    bool SetPriority(int priority);
    // Resumes a suspended thread; true unless the system reports failure.
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

// Thrown where a failed assertion was already reported; it ends its thread quietly.
class AssertEx {};

// Calls the thread's function and returns its result. A kernel exception that leaves the function
// is shown as a fatal error and makes the result 0, as does an AssertEx. If the process is
// terminating the function is not called and the result is 0. Running out of memory ends the
// process with 1 (EndWithoutMemory) and writes no crash report, because it is no error of the
// program. A processor fault, and any other uncaught exception, write a crash report
// (CrashReport.h).
[[nodiscard]] std::uint32_t ThreadEntry(Thread& thread);

}  // namespace Vorn
