#include "KernelResource/ResourceBinInstant.h"

namespace Vorn {

bool ResourceBinInstant::Add(Resource& resource) {
    if (!Retire(resource)) return false;
    Remove(resource);
    return true;
}

}  // namespace Vorn
