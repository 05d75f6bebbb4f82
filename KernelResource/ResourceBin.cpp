#include "KernelResource/ResourceBin.h"

#include "KernelResource/ResourceSystem.h"

namespace Vorn {

void ResourceBin::Remove(Resource& resource) { system_.Accounts().Remove(resource); }

}  // namespace Vorn
