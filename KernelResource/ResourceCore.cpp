#include "KernelResource/ResourceCore.h"

#include <algorithm>
#include <utility>

#include "KernelResource/ArchiveDatabases.h"
#include "KernelResource/LoadQueue.h"
#include "KernelResource/ResourceControl.h"
#include "KernelResource/ResourceDatabase.h"
#include "kernel/Exceptions.h"

namespace Vorn {
namespace {

constinit std::atomic<ResourceCore*> current = nullptr;

}  // namespace

ResourceCore::ResourceCore() : archives_(std::make_unique<ArchiveDatabases>()) {}

// Archive databases wait for their loads, so the queue outlives them. The core stays findable until
// the bin has destroyed what it held, because resources unregister themselves.
ResourceCore::~ResourceCore() {
    archives_.reset();
    queue_.reset();
    bin_.reset();
    ResourceCore* self = this;
    current.compare_exchange_strong(self, nullptr);
}

ResourceCore& ResourceCore::Instance() {
    ResourceCore* const core = Find();
    if (!core) {
        throw Exception("KernelResource/ResourceSystem", __LINE__,
                        "There is no resource system; initialise one first");
    }
    return *core;
}

ResourceCore* ResourceCore::Find() { return current; }

CriticalSection& ResourceCore::LockOf(const Resource& resource) {
    ResourceDatabase* const home = resource.Home();
    return home ? home->Lock() : homelessLock_;
}

void ResourceCore::MakeCurrent() { current = this; }

// The old bin goes first: it makes what is in use available again, for the new one to receive.
void ResourceCore::SetBin(std::unique_ptr<ResourceBin> bin) {
    bin_.reset();
    bin_ = std::move(bin);
}

void ResourceCore::StartQueue() { queue_ = std::make_unique<LoadQueue>(slots_); }

void ResourceCore::Step(float elapsedSeconds) {
    clock_ = clock_ + elapsedSeconds;
    if (queue_) queue_->Step();
    bin_->Process(elapsedSeconds);
}

bool ResourceCore::QueueLoad(Resource& resource) { return queue_ && queue_->Add(resource); }

std::size_t ResourceCore::DatabaseCount() const {
    const ScopedLock hold(listsLock_);
    return databases_.size();
}

void ResourceCore::Register(Resource& resource) {
    ++accounts_.resources;
    const ScopedLock hold(listsLock_);
    resources_.insert(&resource);
}

void ResourceCore::Unregister(Resource& resource) {
    --accounts_.resources;
    const ScopedLock hold(listsLock_);
    resources_.erase(&resource);
}

void ResourceCore::Link(const Resource& target, const RedirResource& redirect) {
    const ScopedLock hold(listsLock_);
    redirects_.emplace(&target, &redirect);
}

void ResourceCore::Unlink(const Resource& target, const RedirResource& redirect) {
    const ScopedLock hold(listsLock_);
    const auto [first, last] = redirects_.equal_range(&target);
    const auto place = std::find_if(
        first, last, [&redirect](const auto& entry) { return entry.second == &redirect; });
    if (place != last) redirects_.erase(place);
}

void ResourceCore::AwaitQueuedLoad(Resource& resource) {
    if (!queue_) return;
    const ResourceState state = resource.State();
    if (state == ResourceState::Cached || state == ResourceState::Loading) queue_->Await(resource);
}

void ResourceCore::ForgetRead(Resource& resource) {
    if (queue_) queue_->ForgetRead(resource);
}

void ResourceCore::OfferToBin(Resource& resource) {
    bool unload = false;
    {
        const ScopedLock hold(LockOf(resource));
        const bool isUnused = resource.ReferenceCount() == 0 && !resource.IsInUse();
        // A queued resource is offered again at the end of its load.
        const bool isIdle = resource.State() == ResourceState::Available ||
                            (resource.State() == ResourceState::Ready && !resource.IsQueued());
        if (isIdle && isUnused && !resource.StaysLoaded()) unload = bin_->Add(resource);
    }
    if (unload) Destroy(resource);
}

void ResourceCore::Revalidate(Resource& resource) {
    if (!bin_->Reclaim(resource)) return;
    // Any other state is that of a resource that aged without ever being loaded, and it stays.
    if (resource.State() == ResourceState::Inactive) {
        ResourceControl(resource).Move(ResourceState::Available);
    }
}

void ResourceCore::Destroy(Resource& resource) {
    if (resource.RequestCount() != 0) resource.ReleaseData();
    ResourceHolds detached;  // declared first, so dropped after the lock
    const ScopedLock detaching(detachingLock_);
    if (ResourceDatabase* home = resource.Home()) home->Detach(resource.Name(), resource, detached);
    DetachRedirects(resource, detached);
}

void ResourceCore::Register(ResourceDatabase& database) {
    const ScopedLock hold(listsLock_);
    databases_.push_back(&database);
}

void ResourceCore::Unregister(ResourceDatabase& database) {
    const ScopedLock hold(listsLock_);
    std::erase(databases_, &database);
    for (Resource* resource : resources_) ResourceControl(*resource).ForgetDatabase(database);
}

void ResourceCore::TakeOutOfQueue(Resource& resource) {
    if (queue_) queue_->TakeOut(resource);
}

void ResourceCore::WithdrawLoad(Resource& resource) {
    if (queue_) {
        queue_->TakeOut(resource);
        queue_->Await(resource);  // even if it is read: the worker may still hold it
    }
    const ResourceState state = resource.State();
    if (state != ResourceState::Loading && state != ResourceState::Loaded) return;
    const LoadSlots::Claim claim = slots_.Begin(resource);  // waits for a load on another thread
    ForgetRead(resource);
}

// The places are copied first: a database's lock is taken outside of the lists' lock.
void ResourceCore::DetachRedirects(const Resource& target, ResourceHolds& detached) {
    std::vector<std::pair<ResourceDatabase*, InternedString>> places;
    {
        const ScopedLock hold(listsLock_);
        const auto [first, last] = redirects_.equal_range(&target);
        for (auto entry = first; entry != last; ++entry) {
            places.emplace_back(entry->second->Home(), entry->second->Name());
        }
    }
    for (const auto& [home, name] : places) {
        if (home) home->Detach(name, target, detached);
    }
}

}  // namespace Vorn
