// The kernel's task "Log": starting it starts the log with the options' list.
#pragma once

#include "services/Task.h"

namespace Vorn {

class LogTask final : public Task {
public:
    LogTask();
    bool Start(KernelOptions& options) override;
};

}  // namespace Vorn
