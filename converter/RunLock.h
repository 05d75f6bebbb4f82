// Makes runs of the converter that would use the same files wait for each other.
#pragma once

#include <string>

#include "platform/PathLock.h"

namespace converter {

// Takes a lock. While another run holds it, prints `problem` once on standard error and waits.
// False if it cannot be taken at all. Throws Stopped.
[[nodiscard]] bool WaitForLock(platform::PathLock& lock, const std::string& path,
                               const std::string& problem);

}  // namespace converter
