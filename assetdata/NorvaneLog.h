// What the asset data library has to say to the kernel's log, in the module "Norvane".
#pragma once

namespace Vorn {

// Writes one line as a warning, whatever level the module has and even when the log is disabled:
// only the module's sinks decide where it goes. Any thread. A line for which there is no memory is
// lost without a word.
void NorvaneLog(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));

}  // namespace Vorn
