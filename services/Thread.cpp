#include "services/Thread.h"

#include <new>

#include "kernel/Exceptions.h"
#include "kernel/StartUp.h"
#include "services/CrashReport.h"
#include "services/FatalError.h"

namespace Vorn {
namespace {

std::uint32_t CallFunction(Thread& thread) {
    try {
        return thread.CallFunction();
    } catch (const AssertEx&) {
        return 0;
    } catch (const Exception& exception) {
        ShowFatalError(exception);
        return 0;
    }
}

}  // namespace

Thread::Thread(ThreadFunction function, void* argument, bool startNow)
    : function_(function), argument_(argument) {
    const auto start = [this] {
        const std::uint32_t code = ThreadEntry(*this);
        running_ = false;
        return code;
    };
    // Suspended at first in either case, so that the function finds a complete object.
    thread_ = platform::MakeThread(start, true);
    handle_ = thread_;
    if (!IsValid()) {
        running_ = false;
    } else if (startNow) {
        thread_->Resume();
    }
}

Thread::~Thread() {
    if (!IsValid()) return;
    stopEvent_.Set();
    thread_->Resume();
    (void)thread_->Wait(platform::kWaitForever);
}

bool Thread::GetExitCode(std::uint32_t& code) const {
    return IsValid() && thread_->GetExitCode(code);
}

bool Thread::SetPriority(int priority) { return IsValid() && thread_->SetPriority(priority); }

bool Thread::Resume() { return IsValid() && thread_->Resume(); }

std::uint32_t Thread::CurrentThreadId() { return platform::CurrentThreadId(); }

std::uint32_t ThreadEntry(Thread& thread) try {
    if (IsTerminating()) return 0;
    const FatalErrorUser user;
    PrepareCrashReport();
    return platform::CallGuarded(WriteCrashReport, [&thread] { return CallFunction(thread); });
} catch (const std::bad_alloc&) {
    EndWithoutMemory();
}

}  // namespace Vorn
