// Writes the asset data library's lines to the kernel's log, in the module "Norvane".
#pragma once

#include "platform/PrintfCheck.h"

namespace Vorn {

// Writes one line as a warning, whatever the module's level, and even if the log is disabled; only
// the module's sinks decide where it goes. Any thread. A line for which there is no memory is
// silently lost.
void NorvaneLog(const char* format, ...) noexcept VORN_PRINTF(1, 2);

}  // namespace Vorn
