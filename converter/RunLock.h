// Keeps runs of the converter apart that would use the same files.
#pragma once

#include <string>

#include "platform/PathLock.h"

// Takes a lock; while another run holds it, waits, after a line `problem` on standard error. False
// when it cannot be taken at all.
[[nodiscard]] bool WaitForLock(platform::PathLock& lock, const std::string& path,
                               const std::string& problem);
