#include "services/Thread.h"

#include "services/ThreadEntry.h"

namespace Vorn {

Thread::Thread(ThreadFunction function, void* argument, bool startNow)
    : function_(function), argument_(argument) {
    const auto start = [this] {
        const std::uint32_t code = ThreadEntry(*this);
        running_ = false;
        return code;
    };
    // Suspended at first in either case, so that the function finds a complete object.
    thread_ = platform::CreateThread(start, true);
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
    [[maybe_unused]] const bool ended = thread_->Wait(platform::kWaitForever);
}

bool Thread::GetExitCode(std::uint32_t& code) const {
    return IsValid() && thread_->GetExitCode(code);
}

bool Thread::SetPriority(int priority) { return IsValid() && thread_->SetPriority(priority); }

bool Thread::Resume() { return IsValid() && thread_->Resume(); }

std::uint32_t Thread::CurrentThreadId() { return platform::CurrentThreadId(); }

}  // namespace Vorn
