#include "KernelResource/Resource.h"

#include <algorithm>
#include <exception>
#include <string>

#include "KernelResource/LoadSlots.h"
#include "KernelResource/ResourceControl.h"
#include "KernelResource/ResourceCore.h"
#include "KernelResource/ResourceDatabase.h"
#include "kernel/Exceptions.h"
#include "kernel/StartUp.h"
#include "services/Log.h"

namespace Vorn {
namespace {

[[nodiscard]] bool IsLoadedState(ResourceState state) {
    return state == ResourceState::Loaded || state == ResourceState::Available ||
           state == ResourceState::Inactive;
}

// Adds 1 to a counter if a condition begins to hold, takes 1 away if it ends.
void CountChange(std::atomic<std::uint32_t>& counter, bool before, bool after) {
    if (after && !before) ++counter;
    if (before && !after) --counter;
}

void CountStates(ResourceState from, ResourceState to) {
    ResourceAccounts& accounts = ResourceCore::Instance().Accounts();
    CountChange(accounts.loaded, IsLoadedState(from), IsLoadedState(to));
    CountChange(accounts.available, from == ResourceState::Available,
                to == ResourceState::Available);
}

[[noreturn]] void ThrowBadMove(ResourceState from, ResourceState to) {
    std::string text("A resource cannot move from state ");
    text.append(NameOf(from)).append(" to ").append(NameOf(to));
    throw Exception("KernelResource/Resource", __LINE__, text.c_str());
}

void LogFailure(const Resource& resource, const char* reason) {
    LogWrite(RegisterLogModule("Resource"), LogLevel::Err, "%s: %s", resource.SourceName().Text(),
             reason);
}

// Runs one stage of a load. Nothing it throws may end the queue's worker, or leave others waiting
// for this load. A failed assertion throws a separate type, which was reported already.
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

// Without a home there is no table to enter, so the resource is ready at once.
Resource::Resource(ResourceDatabase* home, const InternedString& name)
    : name_(name),
      sourceName_(name),
      creationTime_(static_cast<float>(GetTimeSeconds())),
      home_(home),
      state_(home ? ResourceState::None : ResourceState::Ready),
      lastUse_(ResourceCore::Instance().CurrentTime()) {
    ResourceCore::Instance().Register(*this);
}

Resource::~Resource() {
    ResourceCore* const core = ResourceCore::Find();
    if (!core) return;  // a host kept it beyond the system's end; there is nothing to count
    ForgetUses();
    CountStates(State(), ResourceState::None);
    LeaveAccounts();
    core->Unregister(*this);
}

void Resource::Acquire(ResourceResult& result) {
    ResourceCore& core = ResourceCore::Instance();
    lastUse_ = core.CurrentTime();
    core.AwaitQueuedLoad(*this);
    result = UseIfAvailable() ? RES_RESOURCEOK : LoadAndUse();
}

ResourceResult Resource::LoadAndUse() {
    ResourceCore& core = ResourceCore::Instance();
    const LoadSlots::Claim claim = core.Slots().Begin(*this);
    if (!claim) return RES_LOCK_FAILED;
    if (UseIfAvailable()) return RES_RESOURCEOK;  // loaded while we waited for the claim
    switch (State()) {
        case ResourceState::Invalid:
            return RES_INVALID;
        case ResourceState::Delete:
            return RES_NOT_AVAILABLE;
        case ResourceState::Loaded:
            core.ForgetRead(*this);  // else the next step would finish it a second time
            // Fixed: a finishing stage that fails here counts as an earlier failure.
            return Finish({.acquires = 1, .uses = 1}) ? RES_RESOURCEOK : RES_INVALID;
        default:
            if (!BeginLoading()) return RES_NOT_AVAILABLE;
            // Fixed: an acquire that loads from the file is not counted as a use.
            if (!LoadFromFile()) return RES_FAILED_TO_LOAD;
            return Finish({.acquires = 1}) ? RES_RESOURCEOK : RES_FAILED_TO_LOAD;
    }
}

// The queue may hand the resource over, or take it back, between reading the state and the move:
// then the move is tried again. Its worker loads nothing that another thread has claimed. The bin
// may retire the resource, which is final.
bool Resource::BeginLoading() {
    for (;;) {
        const ResourceState from = State();
        if (!MayMove(from, ResourceState::Loading)) return false;
        if (TryMove(from, ResourceState::Loading)) return true;
    }
}

bool Resource::LoadFromFile() {
    ++requests_;
    ++ResourceCore::Instance().Accounts().requests;
    const bool loaded = RunStage(*this, [this](ResourceResult& result) {
        if (!loadsFromDescription_) {
            LoadFile(result, sourceName_.Text());
        } else {
            InternedString description;
            FormatInto(description, "%s.txt", sourceName_.Text());
            LoadDescription(result, description.Text());
        }
    });
    Move(loaded ? ResourceState::Loaded : ResourceState::Invalid);
    return loaded;
}

bool Resource::Finish(Taken taken) {
    if (!RunStage(*this, [this](ResourceResult& result) { FinishLoad(result); })) {
        Move(ResourceState::Invalid);
        return false;
    }
    MakeAvailable(taken);
    if (State() != ResourceState::Delete) OnAvailable();  // an instant bin may have it already
    return true;
}

// The acquires are counted before the state changes. A bin that held the resource since before the
// load looks at it without the home's lock, and unloads nothing that is in use.
void Resource::MakeAvailable(Taken taken) {
    ResourceCore& core = ResourceCore::Instance();
    EnterAccounts();
    bool unload = false;
    {
        const ScopedLock hold(core.LockOf(*this));
        acquires_ += taken.acquires;
        Move(ResourceState::Available);
        CountUses(taken.uses);
        if (references_ == 0 && !StaysLoaded()) unload = core.Bin().Add(*this);
    }
    if (unload) core.Destroy(*this);
}

bool Resource::UseIfAvailable() {
    ResourceCore& core = ResourceCore::Instance();
    const ScopedLock hold(core.LockOf(*this));
    if (State() == ResourceState::Inactive) core.Revalidate(*this);
    if (State() != ResourceState::Available) return false;
    ++acquires_;
    CountUses(1);
    return true;
}

void Resource::CountUses(std::uint32_t uses) {
    if (uses == 0) return;
    // The system counts resources in use, not uses.
    if (uses_.fetch_add(uses) == 0) ++ResourceCore::Instance().Accounts().inUse;
}

void Resource::ForgetUses() {
    if (uses_.exchange(0) != 0) --ResourceCore::Instance().Accounts().inUse;
}

// The sizes are asked for outside of the accounts' lock: a resource may take its own locks to
// answer. A size that is not known yet counts as 0.
void Resource::EnterAccounts() {
    if (dataSize_ == -1) dataSize_ = GetDataSize();
    if (secondSize_ == -1) secondSize_ = GetSecondSize();
    const std::int64_t bytes =
        std::int64_t{std::max(0, dataSize_.load())} + std::max(0, secondSize_.load());
    ResourceCore::Instance().Accounts().Add(share_, bytes);
}

void Resource::LeaveAccounts() { ResourceCore::Instance().Accounts().Remove(share_); }

void Resource::ReleaseUse() {
    const RefPtr<Resource> holder(this);  // the bin may destroy it before we return
    ResourceCore& core = ResourceCore::Instance();
    {
        const ScopedLock hold(core.LockOf(*this));
        if (acquires_ == 0 || --acquires_ != 0) return;
    }
    core.OfferToBin(*this);
}

bool Resource::TryLoad() { return static_cast<bool>(ResourceUse(*this)); }

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
        const ScopedLock hold(ResourceCore::Instance().LockOf(*this));
        if (!wasAvailable_) {
            listeners_.push_back(&listener);
            return;
        }
    }
    listener.OnResourceAvailable(*this);
}

void Resource::RemoveListener(ResourceListener& listener) {
    const ScopedLock hold(ResourceCore::Instance().LockOf(*this));
    std::erase(listeners_, &listener);
}

// The flag and the list change under one lock, so each listener is called once: here or by
// AddListener. The calls come after it, because listeners may acquire, release or remove
// themselves.
void Resource::OnAvailable() {
    std::vector<ResourceListener*> listeners;
    {
        const ScopedLock hold(ResourceCore::Instance().LockOf(*this));
        wasAvailable_ = true;
        listeners = listeners_;
    }
    for (ResourceListener* listener : listeners) listener->OnResourceAvailable(*this);
}

RefPtr<Resource> Resource::Duplicate() {
    if (!type_) return {};
    RefPtr<Resource> copy = type_->Create(home_, name_);
    ResourceControl(*copy).SetOrigin(type_, sourceName_, loadsFromDescription_);
    return copy;
}

void Resource::LoadFile(ResourceResult& result, const char* /*fileName*/) {
    result = RES_NO_LOAD_METHOD;
}

void Resource::LoadDescription(ResourceResult& result, const char* /*fileName*/) {
    result = RES_NO_LOAD_METHOD;
}

void Resource::FinishLoad(ResourceResult& result) { result = RES_RESOURCEOK; }

// A lookup that finds the resource in the bin brings it back before counting, so that no pass of
// the bin can retire it after.
bool Resource::AddReference() {
    ResourceCore& core = ResourceCore::Instance();
    const ScopedLock hold(core.LockOf(*this));
    if (references_ == 0) core.Revalidate(*this);
    if (State() == ResourceState::Delete) return false;
    if (++references_ == 1 && !Home()) AddRef();
    return true;
}

bool Resource::ReleaseReference() {
    const RefPtr<Resource> holder(this);
    ResourceCore& core = ResourceCore::Instance();
    {
        const ScopedLock hold(core.LockOf(*this));
        if (references_ == 0) return false;
        if (--references_ != 0) return true;
    }
    if (!Home()) {
        Release();
        return true;
    }
    lastUse_ = core.CurrentTime();
    core.OfferToBin(*this);
    return true;
}

bool Resource::TryMove(ResourceState from, ResourceState to) {
    if (!MayMove(from, to)) ThrowBadMove(from, to);
    ResourceState seen = from;
    if (!state_.compare_exchange_strong(seen, to)) return false;
    CountStates(from, to);
    // Uses are counted anew each time the resource becomes available.
    if (to == ResourceState::Inactive || to == ResourceState::Delete) ForgetUses();
    return true;
}

void Resource::Move(ResourceState to) {
    const ResourceState from = State();
    if (!TryMove(from, to)) ThrowBadMove(State(), to);
}

RedirResource::RedirResource(ResourceDatabase* home, const InternedString& name, Resource& target)
    : Resource(home, name), target_(&target) {
    // Links are the core's, under its lists lock: the target may belong to another database.
    ResourceCore::Instance().Link(target, *this);
}

RedirResource::~RedirResource() {
    if (ResourceCore* core = ResourceCore::Find()) core->Unlink(*target_, *this);
}

Resource& FollowRedirects(Resource& resource) {
    Resource* next = &resource;
    while (Resource* target = next->GetTarget()) next = target;
    return *next;
}

}  // namespace Vorn
