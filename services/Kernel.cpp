#include "services/Kernel.h"

#include "kernel/StartUp.h"
#include "services/KernelOptions.h"
#include "services/Log.h"
#include "services/Task.h"
#include "services/TaskManager.h"
#include "services/WellKnownNames.h"

namespace Vorn {
namespace {

// The kernel's task "Log": starting it starts the log with the options' list.
class LogTask final : public Task {
public:
    LogTask() : Task(Intern("Log"), false, 0) {}
    bool Start(KernelOptions& options) override {
        InitLog(options.GetOptionList());
        return Task::Start(options);
    }
};

}  // namespace

Kernel::Kernel() {
    RecordMainThread();
    EarlyInitialise();  // a second call does nothing; the first ran before main
    InternWellKnownNames();
    taskManager_ = std::make_unique<TaskManager>();
    logTask_ = std::make_unique<LogTask>();
}

Kernel::~Kernel() = default;

}  // namespace Vorn
