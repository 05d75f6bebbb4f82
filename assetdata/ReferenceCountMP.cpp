#include "assetdata/ReferenceCountMP.h"

#include <utility>

namespace Vorn {
namespace {

// This thread's objects without references, and whether it is deleting them.
thread_local constinit ReferenceCountMP* waiting = nullptr;
thread_local constinit bool deleting = false;

}  // namespace

void ReferenceCountMP::End() noexcept {
    nextToEnd_ = std::exchange(waiting, this);
    if (std::exchange(deleting, true)) return;
    while (ReferenceCountMP* object = waiting) {
        waiting = object->nextToEnd_;
        delete object;
    }
    deleting = false;
}

}  // namespace Vorn
