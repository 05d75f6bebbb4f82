#include "kernel/services/LogTask.h"

#include "kernel/services/KernelOptions.h"
#include "kernel/services/Log.h"

namespace Vorn {

LogTask::LogTask() : Task(Intern("Log"), false, 0) {}

bool LogTask::Start(KernelOptions& options) {
    InitLog(options.GetOptionList());
    return Task::Start(options);
}

}  // namespace Vorn
