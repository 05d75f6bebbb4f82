#include "KernelResource/RedirResource.h"

#include "KernelResource/ResourceSystem.h"

namespace Vorn {

RedirResource::RedirResource(ResourceDatabase* home, const InternedString& name, Resource& target)
    : Resource(home, name), target_(&target) {
    ResourceSystem::Instance().Link(target, *this);
}

RedirResource::~RedirResource() {
    if (ResourceSystem* system = ResourceSystem::Find()) system->Unlink(*target_, *this);
}

Resource& FollowRedirects(Resource& resource) {
    Resource* next = &resource;
    while (Resource* target = next->GetTarget()) next = target;
    return *next;
}

}  // namespace Vorn
