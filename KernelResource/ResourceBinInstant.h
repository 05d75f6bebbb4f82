// The bin that holds nothing: a resource whose last user releases it is unloaded at once.
#pragma once

#include "KernelResource/ResourceBin.h"

namespace Vorn {

class ResourceBinInstant final : public ResourceBin {
public:
    using ResourceBin::ResourceBin;

    void Configure(const OptionList* /*options*/) override {}
    [[nodiscard]] bool Reclaim(Resource& /*resource*/) override { return false; }
    // A resource in use is left as it is; it comes back when its last user has released it.
    [[nodiscard]] bool Add(Resource& resource) override;
    void Process(float /*elapsedSeconds*/) override {}
};

}  // namespace Vorn
