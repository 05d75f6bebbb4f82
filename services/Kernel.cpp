#include "services/Kernel.h"

#include "kernel/StartUp.h"
#include "services/LogTask.h"
#include "services/TaskManager.h"
#include "services/WellKnownNames.h"

namespace Vorn {

Kernel::Kernel() {
    RecordMainThread();
    EarlyInitialise();  // has run before main; creates the string pool where it has not
    InternWellKnownNames();
    taskManager_ = std::make_unique<TaskManager>();
    logTask_ = std::make_unique<LogTask>();
}

Kernel::~Kernel() = default;

}  // namespace Vorn
