#include "KernelResource/ResourceBinInstant.h"

namespace Vorn {

bool ResourceBinInstant::Add(Resource& resource) {
    if (resource.IsInUse()) return false;
    Remove(resource);
    SetState(resource, ResourceState::Delete);
    return true;
}

}  // namespace Vorn
