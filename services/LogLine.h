// What stands before the message in a line of the log.
#pragma once

#include <cstdint>
#include <string>

#include "services/LogModule.h"

namespace Vorn {

// "! 0000002A Err    1:30.0 ExceptionHandle : ": the level's mark, the thread, the level, minutes
// and seconds since the log began, and the module's name in 15 characters. `seconds` is that time;
// a minute begins when 30 seconds of it have passed, so that 60 seconds are 0:60.0.
[[nodiscard]] std::string LogPrefix(LogLevel level, std::uint32_t threadId, double seconds,
                                    const std::string& moduleName);

}  // namespace Vorn
