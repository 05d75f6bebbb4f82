#include "KernelResource/ResourceBin.h"

#include "KernelResource/ResourceSystem.h"

namespace Vorn {

void ResourceBin::Remove(Resource& resource) { system_.Accounts().Remove(resource); }

bool ResourceBin::Retire(Resource& resource) {
    if (resource.IsInUse() || resource.isQueued_) return false;
    switch (resource.State()) {
        case ResourceState::Available:
        case ResourceState::Inactive:
            resource.ChangeState(ResourceState::Delete);
            return true;
        case ResourceState::Ready:
            // A load on another thread takes no lock that is held here: only one of both succeeds.
            return resource.TryChangeState(ResourceState::Ready, ResourceState::Delete);
        default:
            return false;
    }
}

bool ResourceBinInstant::Add(Resource& resource) {
    if (!Retire(resource)) return false;
    Remove(resource);
    return true;
}

}  // namespace Vorn
