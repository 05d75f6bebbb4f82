// A resource that stands for another one: under its name a database gives out the target.
#pragma once

#include "KernelResource/Resource.h"

namespace Vorn {

class RedirResource final : public Resource {
public:
    // Becomes a holder of `target`.
    RedirResource(ResourceDatabase* home, const InternedString& name, Resource& target);
    ~RedirResource() override;
    [[nodiscard]] Resource* GetTarget() const override { return target_.Get(); }

private:
    const RefPtr<Resource> target_;
};

// The resource at the end of all redirects.
[[nodiscard]] Resource& FollowRedirects(Resource& resource);

}  // namespace Vorn
