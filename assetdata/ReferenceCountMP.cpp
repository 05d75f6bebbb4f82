#include "assetdata/ReferenceCountMP.h"

#include <utility>

namespace Vorn {
namespace {

// Objects of this thread that have no users any more, and whether they are being deleted.
thread_local constinit ReferenceCountMP* t_waiting = nullptr;
thread_local constinit bool t_deleting = false;

}  // namespace

void ReferenceCountMP::End() noexcept {
    nextToEnd_ = std::exchange(t_waiting, this);
    if (std::exchange(t_deleting, true)) return;
    while (ReferenceCountMP* object = t_waiting) {
        t_waiting = object->nextToEnd_;
        delete object;
    }
    t_deleting = false;
}

}  // namespace Vorn
