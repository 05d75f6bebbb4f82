// The task by which a host drives the resource system.
#pragma once

#include "services/Task.h"

namespace Vorn {

class ResourceSystem;

class ResourceSystemTask final : public Task {
public:
    // Named "ResourceSystem". The system is borrowed and outlives the task.
    explicit ResourceSystemTask(ResourceSystem& system);
    // One step of the system.
    int Update(float elapsedSeconds) override;

private:
    ResourceSystem& system_;
};

}  // namespace Vorn
