#include "kernel/services/KernelOptions.h"

namespace Vorn {

KernelOptions::KernelOptions(const char* name, const char* defaultText, int first, int second)
    : defaultText_(defaultText), first_(first), second_(second), name_(name) {}

}  // namespace Vorn
