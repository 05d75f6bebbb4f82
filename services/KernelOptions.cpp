#include "services/KernelOptions.h"

#include "services/TaskManager.h"

namespace Vorn {

KernelOptions::KernelOptions(const char* name, const char* defaultText, int first, int second)
    : defaultText_(defaultText), first_(first), second_(second), name_(name) {}

KernelOptions::~KernelOptions() {
    if (TaskManager* manager = FindTaskManager()) manager->ForgetOptions(*this);
}

}  // namespace Vorn
