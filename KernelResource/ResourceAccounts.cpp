#include "KernelResource/ResourceAccounts.h"

#include <algorithm>

#include "KernelResource/Resource.h"

namespace Vorn {

void ResourceAccounts::Add(Resource& resource) {
    if (resource.dataSize_ == -1) resource.dataSize_ = resource.GetDataSize();
    if (resource.secondSize_ == -1) resource.secondSize_ = resource.GetSecondSize();
    const std::int64_t bytes = std::int64_t{std::max(0, resource.dataSize_.load())} +
                               std::max(0, resource.secondSize_.load());
    // The sizes are asked for outside of the lock: a resource may take its own locks to answer.
    const ScopedLock hold(lock_);
    if (!resource.isAccounted_) ++count_;
    resource.isAccounted_ = true;
    memory_ += bytes - resource.accountedBytes_;
    resource.accountedBytes_ = bytes;
}

void ResourceAccounts::Remove(Resource& resource) {
    const ScopedLock hold(lock_);
    if (!resource.isAccounted_) return;
    --count_;
    memory_ -= resource.accountedBytes_;
    resource.isAccounted_ = false;
    resource.accountedBytes_ = 0;
}

}  // namespace Vorn
