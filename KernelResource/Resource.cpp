#include "KernelResource/Resource.h"

#include <algorithm>
#include <exception>

#include "KernelResource/LoadSlots.h"
#include "KernelResource/ResourceDatabase.h"
#include "KernelResource/ResourceSystem.h"
#include "kernel/Exceptions.h"
#include "kernel/StartUp.h"
#include "services/Log.h"

namespace Vorn {
namespace {

[[nodiscard]] bool IsLoadedState(ResourceState state) {
    return state == ResourceState::Loaded || state == ResourceState::Available ||
           state == ResourceState::Inactive;
}

// Adds 1 to a counter when something begins to be true, takes 1 away when it ends.
void CountChange(std::atomic<std::uint32_t>& counter, bool before, bool after) {
    if (before != after) counter += after ? 1U : ~0U;
}

void LogFailure(const Resource& resource, const char* reason) {
    LogWrite(RegisterLogModule("Resource"), LogLevel::Err, "%s: %s", resource.SourceName().Text(),
             reason);
}

// Runs one stage of a load. Whatever it throws (an assertion that was reported is no exception of
// anybody's) must not end the queue's worker, or leave others waiting for this load.
template <typename Stage>
[[nodiscard]] bool RunStage(const Resource& resource, Stage stage) {
    ResourceResult result = RES_RESOURCEOK;
    try {
        stage(result);
    } catch (const Exception& error) {
        LogFailure(resource, error.GetReason());
        return false;
    } catch (const std::exception& error) {
        LogFailure(resource, error.what());
        return false;
    } catch (...) {
        return false;
    }
    return result == RES_RESOURCEOK;
}

}  // namespace

Resource::Resource(ResourceDatabase* home, const InternedString& name)
    : name_(name),
      home_(home),
      creationTime_(static_cast<float>(GetTimeSeconds())),
      lastUse_(ResourceSystem::Instance().CurrentTime()),
      state_(home ? ResourceState::None : ResourceState::Ready),
      sourceName_(name) {
    ResourceSystem::Instance().Register(*this);
}

Resource::~Resource() {
    ResourceSystem* const system = ResourceSystem::Find();
    if (!system) return;
    ForgetUses();
    ChangeState(ResourceState::None);
    system->Accounts().Remove(*this);
    system->Unregister(*this);
}

void Resource::Acquire(ResourceResult& result) {
    ResourceSystem& system = ResourceSystem::Instance();
    lastUse_ = system.CurrentTime();
    system.AwaitQueuedLoad(*this);
    result = UseIfAvailable() ? RES_RESOURCEOK : LoadAndUse();
}

ResourceResult Resource::LoadAndUse() {
    ResourceSystem& system = ResourceSystem::Instance();
    const LoadSlots::Claim claim = system.Slots().Begin(*this);
    if (!claim) return RES_LOCK_FAILED;
    if (UseIfAvailable()) return RES_RESOURCEOK;  // another thread has loaded it meanwhile
    switch (State()) {
        case ResourceState::Invalid:
            return RES_INVALID;
        case ResourceState::Delete:
            return RES_NOT_AVAILABLE;
        case ResourceState::Loaded:
            system.ForgetRead(*this);
            return Finish(1, 1) ? RES_RESOURCEOK : RES_INVALID;
        default:
            if (!BeginLoading()) return RES_NOT_AVAILABLE;
            return LoadFromFile() && Finish(1, 0) ? RES_RESOURCEOK : RES_FAILED_TO_LOAD;
    }
}

// The queue may take the resource meanwhile, which the caller's claim outdoes; or the bin, for
// good.
bool Resource::BeginLoading() {
    for (;;) {
        const ResourceState from = State();
        if (from == ResourceState::Delete) return false;
        if (TryChangeState(from, ResourceState::Loading)) return true;
    }
}

bool Resource::LoadFromFile() {
    ++requests_;
    ++ResourceSystem::Instance().Accounts().requests;
    const bool loaded = RunStage(*this, [this](ResourceResult& result) {
        if (!loadsFromDescription_) {
            LoadFile(result, sourceName_.Text());
        } else {
            InternedString description;
            FormatInto(description, "%s.txt", sourceName_.Text());
            LoadDescription(result, description.Text());
        }
    });
    ChangeState(loaded ? ResourceState::Loaded : ResourceState::Invalid);
    return loaded;
}

bool Resource::Finish(std::uint32_t acquires, std::uint32_t uses) {
    if (!RunStage(*this, [this](ResourceResult& result) { FinishLoad(result); })) {
        ChangeState(ResourceState::Invalid);
        return false;
    }
    MakeAvailable(acquires, uses);
    if (State() != ResourceState::Delete) OnAvailable();
    return true;
}

// The acquires are counted before the bin may see the resource: it unloads nothing that is in use.
void Resource::MakeAvailable(std::uint32_t acquires, std::uint32_t uses) {
    ResourceSystem& system = ResourceSystem::Instance();
    system.Accounts().Add(*this);
    bool unload = false;
    {
        const ScopedLock hold(system.LockOf(*this));
        ChangeState(ResourceState::Available);
        acquires_ += acquires;
        CountUses(uses);
        if (references_ == 0 && !StaysLoaded()) unload = system.Bin().Add(*this);
    }
    if (unload) system.Destroy(*this);
}

bool Resource::UseIfAvailable() {
    ResourceSystem& system = ResourceSystem::Instance();
    const ScopedLock hold(system.LockOf(*this));
    if (State() == ResourceState::Inactive) system.Revalidate(*this);
    if (State() != ResourceState::Available) return false;
    ++acquires_;
    CountUses(1);
    return true;
}

void Resource::CountUses(std::uint32_t uses) {
    if (uses == 0) return;
    if (uses_.fetch_add(uses) == 0) ++ResourceSystem::Instance().Accounts().inUse;
}

void Resource::ForgetUses() {
    if (uses_.exchange(0) != 0) --ResourceSystem::Instance().Accounts().inUse;
}

void Resource::ReleaseUse() {
    const RefPtr<Resource> holder(this);
    ResourceSystem& system = ResourceSystem::Instance();
    {
        const ScopedLock hold(system.LockOf(*this));
        if (acquires_ == 0 || --acquires_ != 0) return;
    }
    system.OfferToBin(*this);
}

bool Resource::TryLoad() {
    const RefPtr<Resource> holder(this);
    ResourceResult result = RES_RESOURCEOK;
    Acquire(result);
    if (result != RES_RESOURCEOK) return false;
    ReleaseUse();
    return true;
}

void Resource::GetStatus(ResourceResult& result) const {
    switch (State()) {
        case ResourceState::Available:
            result = RES_RESOURCEOK;
            break;
        case ResourceState::Invalid:
            result = RES_FAILED_TO_LOAD;
            break;
        default:
            result = RES_PARTIAL_LOAD;
            break;
    }
}

void Resource::AddListener(ResourceListener& listener) {
    {
        const ScopedLock hold(ResourceSystem::Instance().LockOf(*this));
        if (!wasAvailable_) {
            listeners_.push_back(&listener);
            return;
        }
    }
    listener.OnResourceAvailable(*this);
}

void Resource::RemoveListener(ResourceListener& listener) {
    const ScopedLock hold(ResourceSystem::Instance().LockOf(*this));
    std::erase(listeners_, &listener);
}

void Resource::OnAvailable() {
    std::vector<ResourceListener*> listeners;
    {
        const ScopedLock hold(ResourceSystem::Instance().LockOf(*this));
        wasAvailable_ = true;
        listeners = listeners_;
    }
    for (ResourceListener* listener : listeners) listener->OnResourceAvailable(*this);
}

RefPtr<Resource> Resource::Duplicate() {
    if (!type_) return {};
    RefPtr<Resource> copy = type_->Create(home_, name_);
    copy->sourceName_ = sourceName_;
    copy->type_ = type_;
    copy->loadsFromDescription_ = loadsFromDescription_;
    return copy;
}

void Resource::LoadFile(ResourceResult& result, const char* /*fileName*/) {
    result = RES_NO_LOAD_METHOD;
}

void Resource::LoadDescription(ResourceResult& result, const char* /*fileName*/) {
    result = RES_NO_LOAD_METHOD;
}

void Resource::FinishLoad(ResourceResult& result) { result = RES_RESOURCEOK; }

bool Resource::AddReference() {
    ResourceSystem& system = ResourceSystem::Instance();
    const ScopedLock hold(system.LockOf(*this));
    if (references_ == 0) system.Revalidate(*this);
    if (State() == ResourceState::Delete) return false;
    if (++references_ == 1 && !Home()) AddRef();
    return true;
}

bool Resource::ReleaseReference() {
    const RefPtr<Resource> holder(this);
    ResourceSystem& system = ResourceSystem::Instance();
    {
        const ScopedLock hold(system.LockOf(*this));
        if (references_ == 0) return false;
        if (--references_ != 0) return true;
    }
    if (!Home()) {
        Release();
        return true;
    }
    lastUse_ = system.CurrentTime();
    system.OfferToBin(*this);
    return true;
}

void Resource::ChangeState(ResourceState to) {
    const ResourceState from = state_.exchange(to);
    ResourceAccounts& accounts = ResourceSystem::Instance().Accounts();
    CountChange(accounts.loaded, IsLoadedState(from), IsLoadedState(to));
    CountChange(accounts.available, from == ResourceState::Available,
                to == ResourceState::Available);
    if (to == ResourceState::Inactive || to == ResourceState::Delete) ForgetUses();
}

bool Resource::TryChangeState(ResourceState from, ResourceState to) {
    return state_.compare_exchange_strong(from, to);
}

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
