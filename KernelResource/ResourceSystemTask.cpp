#include "KernelResource/ResourceSystemTask.h"

#include "KernelResource/ResourceSystem.h"

namespace Vorn {

ResourceSystemTask::ResourceSystemTask(ResourceSystem& system)
    : Task(Intern("ResourceSystem"), false, 0), system_(system) {}

int ResourceSystemTask::Update(float elapsedSeconds) {
    system_.Process(elapsedSeconds);
    return 0;
}

}  // namespace Vorn
