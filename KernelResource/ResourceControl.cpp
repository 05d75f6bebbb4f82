#include "KernelResource/ResourceControl.h"

namespace Vorn {

void ResourceControl::SetOrigin(ResourceType* type, const InternedString& source,
                                bool isDescribed) {
    resource_.type_ = type;
    resource_.sourceName_ = source;
    resource_.loadsFromDescription_ = isDescribed;
}

bool ResourceControl::EnterQueue() {
    return resource_.State() == ResourceState::Ready && !resource_.isQueued_.exchange(true);
}

void ResourceControl::GiveOut(ResourceDatabase& database, float time) {
    resource_.lastGivenBy_ = &database;
    resource_.lastUse_ = time;
}

void ResourceControl::End() {
    // The driving thread may be destroying what the bin has retired.
    if (resource_.State() != ResourceState::Delete) Move(ResourceState::Delete);
    resource_.references_ = 0;
}

void ResourceControl::ForgetDatabase(ResourceDatabase& ended) {
    ResourceDatabase* database = &ended;
    const bool wasHome = resource_.home_.compare_exchange_strong(database, nullptr);
    // Without a home the references together are one holder (Resource::AddReference).
    if (wasHome && resource_.references_ != 0) resource_.AddRef();
    database = &ended;
    resource_.lastGivenBy_.compare_exchange_strong(database, nullptr);
}

}  // namespace Vorn
