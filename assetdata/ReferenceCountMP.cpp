#include "assetdata/ReferenceCountMP.h"

#include <utility>

namespace Vorn {
namespace {

// Objects of this thread that have no users any more, and whether they are being deleted.
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
