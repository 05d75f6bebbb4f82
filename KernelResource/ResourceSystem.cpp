#include "KernelResource/ResourceSystem.h"

#include <algorithm>

#include "KernelResource/ArchiveDatabases.h"
#include "KernelResource/LoadQueue.h"
#include "KernelResource/ResourceBinCache.h"
#include "KernelResource/ResourceDatabase.h"
#include "kernel/Exceptions.h"
#include "services/OptionList.h"
#include "services/Task.h"

namespace Vorn {
namespace {

constexpr int kDefaultMemory = 30;  // megabytes
constexpr int kLeastMemory = 10;
constexpr std::int64_t kMegabyte = 1'000'000;
constexpr float kMaintenanceInterval = 1.0F;  // seconds

constinit std::atomic<ResourceSystem*> g_system = nullptr;

[[nodiscard]] bool IsQueuedLoad(const Resource& resource) {
    return resource.State() == ResourceState::Cached || resource.State() == ResourceState::Loading;
}

}  // namespace

// The task by which a host drives the system.
class ResourceSystemTask final : public Task {
public:
    explicit ResourceSystemTask(ResourceSystem& system)
        : Task(Intern("ResourceSystem"), false, 0), system_(system) {}
    int Update(float elapsedSeconds) override {
        system_.Process(elapsedSeconds);
        return 0;
    }

private:
    ResourceSystem& system_;
};

ResourceSystem::ResourceSystem() = default;

ResourceSystem::~ResourceSystem() {
    task_.reset();
    archives_.reset();
    queue_.reset();
    bin_.reset();
    ResourceSystem* self = this;
    g_system.compare_exchange_strong(self, nullptr);
}

void ResourceSystem::Init(const OptionList* options) {
    g_system = this;
    options_ = options;
    bool caching = true;
    bool instant = false;
    if (options) {
        GetOptionBool(*options, "ResourceCaching", caching, true);
        int megabytes = 0;
        GetOptionInt(*options, "ResourceMemory", megabytes, kDefaultMemory);
        memoryBudget_ = std::max(megabytes, kLeastMemory) * kMegabyte;
        instant = options->Find("ResourceInstantBin") != nullptr;
    }
    SetBin(instant ? nullptr : std::make_unique<ResourceBinCache>(*this));
    if (caching) queue_ = std::make_unique<LoadQueue>(slots_);
    archives_ = std::make_unique<ArchiveDatabases>();
    task_ = std::make_unique<ResourceSystemTask>(*this);
}

ResourceSystem& ResourceSystem::Instance() {
    ResourceSystem* const system = Find();
    if (!system) {
        throw Exception("KernelResource/ResourceSystem", __LINE__, "There is no resource system");
    }
    return *system;
}

ResourceSystem* ResourceSystem::Find() { return g_system; }

void ResourceSystem::SetBin(std::unique_ptr<ResourceBin> bin) {
    bin_.reset();
    bin_ = bin ? std::move(bin) : std::make_unique<ResourceBinInstant>(*this);
    bin_->Configure(options_);
}

void ResourceSystem::Process(float elapsedSeconds) {
    clock_ = clock_ + elapsedSeconds;
    if (queue_) queue_->Step();
    bin_->Process(elapsedSeconds);
    sinceMaintenance_ += elapsedSeconds;
    if (sinceMaintenance_ <= kMaintenanceInterval) return;
    sinceMaintenance_ = 0;
    Maintain();
}

void ResourceSystem::Maintain() {
    if (memoryBudget_ > 0 && accounts_.Memory() > memoryBudget_) bin_->RelieveMemory();
}

std::size_t ResourceSystem::DatabaseCount() const {
    const ScopedLock hold(listsLock_);
    return databases_.size();
}

bool ResourceSystem::QueueLoad(Resource& resource) { return queue_ && queue_->Add(resource); }

void ResourceSystem::TakeOutOfQueue(Resource& resource) {
    if (queue_) queue_->TakeOut(resource);
}

void ResourceSystem::WithdrawLoad(Resource& resource) {
    if (queue_) {
        queue_->TakeOut(resource);
        queue_->Await(resource);  // also when it is read, while the worker still holds it
    }
    const ResourceState state = resource.State();
    if (state != ResourceState::Loading && state != ResourceState::Loaded) return;
    const LoadSlots::Claim claim = slots_.Begin(resource);
    ForgetRead(resource);
}

CriticalSection& ResourceSystem::LockOf(const Resource& resource) {
    ResourceDatabase* const home = resource.Home();
    return home ? home->Lock() : homelessLock_;
}

void ResourceSystem::Register(Resource& resource) {
    ++accounts_.resources;
    const ScopedLock hold(listsLock_);
    resources_.insert(&resource);
}

void ResourceSystem::Unregister(Resource& resource) {
    --accounts_.resources;
    const ScopedLock hold(listsLock_);
    resources_.erase(&resource);
}

void ResourceSystem::Link(Resource& target, RedirResource& redirect) {
    const ScopedLock hold(listsLock_);
    target.redirects_.push_back(&redirect);
}

void ResourceSystem::Unlink(Resource& target, RedirResource& redirect) {
    const ScopedLock hold(listsLock_);
    std::erase(target.redirects_, &redirect);
}

void ResourceSystem::AwaitQueuedLoad(Resource& resource) {
    if (queue_ && IsQueuedLoad(resource)) queue_->Await(resource);
}

void ResourceSystem::ForgetRead(Resource& resource) {
    if (queue_) queue_->ForgetRead(resource);
}

void ResourceSystem::Revalidate(Resource& resource) {
    if (!bin_->Reclaim(resource)) return;
    if (resource.State() == ResourceState::Inactive) {
        resource.ChangeState(ResourceState::Available);
    }
}

void ResourceSystem::OfferToBin(Resource& resource) {
    bool unload = false;
    {
        const ScopedLock hold(LockOf(resource));
        const bool isUnused = resource.ReferenceCount() == 0 && !resource.IsInUse();
        // A queued load offers its resource again when it has ended.
        const bool isIdle = resource.State() == ResourceState::Available ||
                            (resource.State() == ResourceState::Ready && !resource.isQueued_);
        if (isIdle && isUnused && !resource.StaysLoaded()) unload = bin_->Add(resource);
    }
    if (unload) Destroy(resource);
}

void ResourceSystem::Destroy(Resource& resource) {
    if (resource.RequestCount() != 0) resource.ReleaseData();
    std::vector<RefPtr<Resource>> detached;  // let go of outside of the lock
    const ScopedLock detaching(detachingLock_);
    if (ResourceDatabase* home = resource.Home()) home->Detach(resource.Name(), resource, detached);
    DetachRedirects(resource, detached);
}

void ResourceSystem::DetachRedirects(const Resource& target,
                                     std::vector<RefPtr<Resource>>& detached) {
    std::vector<std::pair<ResourceDatabase*, InternedString>> places;
    {
        const ScopedLock hold(listsLock_);
        for (const RedirResource* redirect : target.redirects_) {
            places.emplace_back(redirect->Home(), redirect->Name());
        }
    }
    for (const auto& [home, name] : places) {
        if (home) home->Detach(name, target, detached);
    }
}

void ResourceSystem::Register(ResourceDatabase& database) {
    const ScopedLock hold(listsLock_);
    databases_.push_back(&database);
}

void ResourceSystem::Unregister(ResourceDatabase& database) {
    const ScopedLock hold(listsLock_);
    std::erase(databases_, &database);
    for (Resource* resource : resources_) {
        ResourceDatabase* ended = &database;
        const bool wasHome = resource->home_.compare_exchange_strong(ended, nullptr);
        if (wasHome && resource->references_ != 0) resource->AddRef();
        ended = &database;
        resource->lastGivenBy_.compare_exchange_strong(ended, nullptr);
    }
}

ResourceSystem& StartResourceSystem(const OptionList& options) {
    static const auto system = std::make_unique<ResourceSystem>();
    system->Init(&options);
    return *system;
}

}  // namespace Vorn
