#include "KernelResource/ResourceAccounts.h"

namespace Vorn {

void ResourceAccounts::Add(Share& share, std::int64_t bytes) {
    const ScopedLock hold(lock_);
    if (!share.isCounted_) ++count_;
    share.isCounted_ = true;
    memory_ += bytes - share.bytes_;
    share.bytes_ = bytes;
}

void ResourceAccounts::Remove(Share& share) {
    const ScopedLock hold(lock_);
    if (!share.isCounted_) return;
    --count_;
    memory_ -= share.bytes_;
    share = {};
}

}  // namespace Vorn
