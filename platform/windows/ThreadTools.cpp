#include "platform/shared/ThreadTools.h"

#include "platform/Threads.h"
#include "platform/windows/Handles.h"

namespace platform {

// The system has seven levels: -15 and 15 are its idle and its time-critical one.
bool shared::SetPriorityOf(std::uint32_t threadId, int priority) {
    constexpr int kLimit = 15;
    int level = priority;
    if (priority <= -kLimit) {
        level = THREAD_PRIORITY_IDLE;
    } else if (priority >= kLimit) {
        level = THREAD_PRIORITY_TIME_CRITICAL;
    } else if (priority < THREAD_PRIORITY_LOWEST) {
        level = THREAD_PRIORITY_LOWEST;
    } else if (priority > THREAD_PRIORITY_HIGHEST) {
        level = THREAD_PRIORITY_HIGHEST;
    }
    const windows::Handle thread(OpenThread(THREAD_SET_INFORMATION, FALSE, threadId));
    return thread && SetThreadPriority(thread.Get(), level) != 0;
}

std::uint32_t CurrentThreadId() { return GetCurrentThreadId(); }

}  // namespace platform
