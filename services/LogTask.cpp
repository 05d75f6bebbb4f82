#include "services/LogTask.h"

#include "services/KernelOptions.h"
#include "services/Log.h"

namespace Vorn {

LogTask::LogTask() : Task(Intern("Log"), false, 0) {}

bool LogTask::Start(KernelOptions& options) {
    InitLog(options.GetOptionList());
    return Task::Start(options);
}

}  // namespace Vorn
