#include "assetdata/SharedLock.h"

#include "kernel/StartUp.h"
#include "kernel/StringPool.h"
#include "platform/Threads.h"

namespace Vorn {

SharedLock::SharedLock(std::chrono::milliseconds sweepInterval) : sweepInterval_(sweepInterval) {}

template <typename Condition>
void SharedLock::WaitUntil(std::unique_lock<std::mutex>& guard, Condition free) {
    if (platform::CurrentThreadId() != MainThreadId()) return changed_.wait(guard, free);
    while (!changed_.wait_for(guard, sweepInterval_, free)) {
        guard.unlock();
        GetStringPool().Sweep();
        guard.lock();
    }
}

void SharedLock::Enter() {
    std::unique_lock guard(mutex_);
    ++waitingWriters_;
    WaitUntil(guard, [this] { return !written_ && readers_ == 0 && admittedReaders_ == 0; });
    --waitingWriters_;
    written_ = true;
}

void SharedLock::Leave() {
    const std::lock_guard guard(mutex_);
    written_ = false;
    admittedReaders_ = waitingReaders_;  // they enter before the next writer
    changed_.notify_all();
}

void SharedLock::EnterShared() {
    std::unique_lock guard(mutex_);
    ++waitingReaders_;
    WaitUntil(guard,
              [this] { return !written_ && (waitingWriters_ == 0 || admittedReaders_ > 0); });
    --waitingReaders_;
    if (admittedReaders_ > 0) --admittedReaders_;
    ++readers_;
}

void SharedLock::LeaveShared() {
    const std::lock_guard guard(mutex_);
    if (--readers_ == 0) changed_.notify_all();
}

}  // namespace Vorn
