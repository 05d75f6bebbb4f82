#include "platform/shared/ThreadTools.h"

#include <sys/resource.h>
#include <unistd.h>

#include "platform/Threads.h"

namespace platform {

bool shared::SetPriorityOf(std::uint32_t threadId, int priority) {
    return setpriority(PRIO_PROCESS, threadId, -priority) == 0;
}

std::uint32_t CurrentThreadId() { return static_cast<std::uint32_t>(gettid()); }

}  // namespace platform
