#include "services/Task.h"

#include "kernel/StartUp.h"
#include "services/TaskManager.h"

namespace Vorn {

Task::Task(const InternedString& name, bool option, float period)
    : name_(name), lastTime_(GetTimeSeconds() - 1.0), period_(period), option_(option) {
    if (TaskManager* manager = FindTaskManager()) manager->Register(*this);
}

Task::~Task() {
    if (TaskManager* manager = FindTaskManager()) manager->Unregister(*this);
}

bool Task::Start(KernelOptions& /*options*/) {
    started_ = true;
    return true;
}

int Task::Update(float /*elapsedSeconds*/) { return 0; }

}  // namespace Vorn
