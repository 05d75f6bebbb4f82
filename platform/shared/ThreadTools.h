// What threads need of each system.
#pragma once

#include <cstdint>

namespace platform::shared {

// Gives a running thread of this process a priority from -15 to 15; false if the system refuses.
[[nodiscard]] bool SetPriorityOf(std::uint32_t threadId, int priority);

}  // namespace platform::shared
