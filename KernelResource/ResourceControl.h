// What the parts of the resource system do with a resource: databases, types, the load queue, bins
// and the core. Hosts use Resource alone.
//
// Make one where it is needed: ResourceControl(resource).Move(...). Threads: as each function says.
#pragma once

#include "KernelResource/Resource.h"

namespace Vorn {

class ResourceControl {
public:
    explicit ResourceControl(Resource& resource) : resource_(resource) {}

    // Move the resource between states, as Resource::TryMove and Resource::Move do.
    [[nodiscard]] bool TryMove(ResourceState from, ResourceState to) {
        return resource_.TryMove(from, to);
    }
    void Move(ResourceState to) { resource_.Move(to); }

    // For types. Sets what made the resource, and from which qualified name. Called before the
    // resource is shared.
    void SetOrigin(ResourceType* type, const InternedString& source, bool isDescribed);

    // For the load queue. The first two are called under the lock of its items.

    // Returns false if the resource is not Ready or is in the queue already.
    [[nodiscard]] bool EnterQueue();
    void LeaveQueue() { resource_.isQueued_ = false; }
    // Reads the file of a resource in state Loading. Needs the caller's claim, as the next.
    [[nodiscard]] bool LoadFromFile() { return resource_.LoadFromFile(); }
    // Finishes a load whose file was read; the caller does not acquire the resource.
    [[nodiscard]] bool Finish() { return resource_.Finish({}); }

    // For databases.

    void EnterAccounts() { resource_.EnterAccounts(); }
    // Records that a lookup in `database` returns the resource.
    void GiveOut(ResourceDatabase& database, float time);
    // Ends the resource together with its home, unless the bin is destroying it already. The caller
    // holds the home's lock.
    void End();

    // For bins.
    void LeaveAccounts() { resource_.LeaveAccounts(); }

    // For the core. Makes the resource homeless if `ended` is its home.
    void ForgetDatabase(ResourceDatabase& ended);

private:
    Resource& resource_;
};

}  // namespace Vorn
