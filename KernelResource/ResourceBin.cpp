#include "KernelResource/ResourceBin.h"

#include "KernelResource/ResourceControl.h"
#include "KernelResource/ResourceCore.h"

namespace Vorn {

void ResourceBin::Remove(Resource& resource) { ResourceControl(resource).LeaveAccounts(); }

void ResourceBin::Shelve(Resource& resource) {
    (void)ResourceControl(resource).TryMove(ResourceState::Available, ResourceState::Inactive);
}

void ResourceBin::Unshelve(Resource& resource) {
    (void)ResourceControl(resource).TryMove(ResourceState::Inactive, ResourceState::Available);
}

bool ResourceBin::Retire(Resource& resource) {
    // The state is read before the acquires. A bin retires without the home's lock what it held
    // since before its load; that load counts its acquires before it makes the resource available,
    // so a thread that sees the new state also sees the acquires.
    const ResourceState from = resource.State();
    if (resource.IsInUse() || resource.IsQueued()) return false;
    switch (from) {
        case ResourceState::Ready:
        case ResourceState::Available:
        case ResourceState::Inactive:
            return ResourceControl(resource).TryMove(from, ResourceState::Delete);
        default:
            return false;
    }
}

CriticalSection& ResourceBin::LockOf(const Resource& resource) {
    return ResourceCore::Instance().LockOf(resource);
}

void ResourceBin::Destroy(Resource& resource) { ResourceCore::Instance().Destroy(resource); }

bool ResourceBinInstant::Add(Resource& resource) {
    if (!Retire(resource)) return false;
    Remove(resource);
    return true;
}

}  // namespace Vorn
