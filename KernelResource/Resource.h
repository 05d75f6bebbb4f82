// A loadable asset known to a resource database.
//
// It is made unloaded, and loaded when a user acquires it or by the load queue. Once it has no
// references, the resource system's bin receives it, unloads it and destroys it. ResourceState.h
// has its states.
//
// Three counts, each for its own purpose:
// - References keep a resource in its database. GetResource adds one, ReleaseResource takes one.
// - Acquires keep its content loaded (ResourceUse).
// - Holders (RefPtr) keep the object in memory: its database's table, the redirects to it, the load
//   queue and the bin. A resource lives on the heap (MakeResource); its maker is the first holder.
//
// Decided here:
// - An acquire brings an inactive resource back from the bin, as a lookup does.
// - A load that throws has failed; the log has the reason.
// - Acquiring a resource from inside its own load, and rings of such loads over several threads,
//   give RES_LOCK_FAILED. A resource that the bin is destroying gives RES_NOT_AVAILABLE.
// - Listeners are called on the thread that finishes the load (the one that acquires, or the one
//   that drives the resource system), and may acquire and release. RemoveListener does not wait for
//   a call that runs on another thread.
//
// Threads: any. The home database's lock guards references, acquires and the passage to and from
// the bin. Loads, listeners and destructors run outside of all locks. Resources end before the
// resource system.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>
#include <vector>

#include "KernelResource/ResourceAccounts.h"
#include "KernelResource/ResourceCodes.h"
#include "KernelResource/ResourceState.h"
#include "kernel/InternedString.h"
#include "kernel/ReferenceCount.h"

namespace Vorn {

class Resource;
class ResourceDatabase;
class ResourceType;

class ResourceListener {
public:
    virtual void OnResourceAvailable(Resource& resource) = 0;

protected:
    ~ResourceListener() = default;
};

class Resource {
public:
    // Makes an unloaded resource. `home` is the database that makes it, or null. Throws Exception
    // if there is no resource system.
    Resource(ResourceDatabase* home, const InternedString& name);
    Resource(const Resource&) = delete;
    Resource& operator=(const Resource&) = delete;

    // The virtual operations, in slot order, which is fixed.

    // Loads the resource if necessary, waiting for a load that is queued or runs on another thread.
    // On RES_RESOURCEOK it is in use until ReleaseUse. A load that fails gives RES_FAILED_TO_LOAD
    // (RES_INVALID if the load queue had read the file) and is not tried again: every later acquire
    // gives RES_INVALID. Prefer ResourceUse.
    virtual void Acquire(ResourceResult& result);
    // Undoes one Acquire.
    virtual void ReleaseUse();
    // Loads the resource and returns whether that succeeded; it is not in use afterwards.
    [[nodiscard]] virtual bool TryLoad();
    // Gives RES_RESOURCEOK when available, RES_FAILED_TO_LOAD when invalid, and RES_PARTIAL_LOAD in
    // any other state.
    virtual void GetStatus(ResourceResult& result) const;
    // Sets when the resource expires, in seconds of the bin's clock. Called by the bin.
    virtual void SetExpiry(float seconds) { expiry_ = seconds; }
    // Calls the listener when the resource becomes available, or at once if it ever was. The
    // listener is borrowed until it is removed or the resource ends.
    virtual void AddListener(ResourceListener& listener);
    virtual void RemoveListener(ResourceListener& listener);
    virtual ~Resource();
    // Makes another resource of this kind, with the same source and home. The home's table does not
    // list it. Null if no type made this one.
    [[nodiscard]] virtual RefPtr<Resource> Duplicate();
    // Reads the file `fileName`, a qualified name. Called on any thread, including the load
    // queue's. The base gives RES_NO_LOAD_METHOD; classes that can load override it.
    virtual void LoadFile(ResourceResult& result, const char* fileName);
    // Reads a description instead; `fileName` ends in ".txt".
    virtual void LoadDescription(ResourceResult& result, const char* fileName);
    // Does the second stage, after either: on a thread that acquires or drives, never the queue's.
    virtual void FinishLoad(ResourceResult& result);
    // Calls the listeners. Overriders call this one.
    virtual void OnAvailable();
    // Returns true to keep the resource from the bin, so that it stays loaded until its database
    // ends.
    [[nodiscard]] virtual bool StaysLoaded() const { return false; }
    // Return bytes, or -1 while unknown. Called until known, then remembered. Both sizes count for
    // the memory budget.
    [[nodiscard]] virtual int GetDataSize() { return -1; }
    [[nodiscard]] virtual int GetSecondSize() { return 0; }
    // Returns the resource that this one redirects to, or null.
    [[nodiscard]] virtual Resource* GetTarget() const { return nullptr; }
    // Frees what a load has made. Called before the destructor if a load was tried. Must not wait
    // for other threads.
    virtual void ReleaseData() {}

    // Adds a reference. False if the bin is destroying the resource.
    [[nodiscard]] bool AddReference();
    // Takes one; false if there was none. After the last one, a resource with a home passes to the
    // bin as soon as it is not in use, whether or not it was ever loaded. Without a home, all
    // references together are one holder.
    bool ReleaseReference();

    // Holders, for RefPtr.
    void AddRef() noexcept { ++holders_; }
    void Release() {
        if (--holders_ == 0) delete this;
    }

    [[nodiscard]] const InternedString& Name() const { return name_; }
    [[nodiscard]] const InternedString& SourceName() const { return sourceName_; }
    [[nodiscard]] ResourceDatabase* Home() const { return home_; }
    [[nodiscard]] ResourceState State() const { return state_; }
    [[nodiscard]] float CreationTime() const { return creationTime_; }  // by GetTimeSeconds
    [[nodiscard]] float LastUse() const { return lastUse_; }  // by the resource system's clock
    [[nodiscard]] float Expiry() const { return expiry_; }
    [[nodiscard]] std::uint32_t ReferenceCount() const { return references_; }
    [[nodiscard]] std::uint32_t HolderCount() const { return holders_; }
    [[nodiscard]] std::uint32_t UseCount() const { return uses_; }  // acquires since available
    [[nodiscard]] std::uint32_t AcquireCount() const { return acquires_; }  // not yet released
    [[nodiscard]] std::uint32_t RequestCount() const { return requests_; }  // load attempts
    [[nodiscard]] bool IsQueued() const { return isQueued_; }  // for the load queue's worker
    // Returns whether the content is needed.
    [[nodiscard]] bool IsInUse() const { return acquires_ != 0; }
    [[nodiscard]] bool IsRedirect() const { return GetTarget() != nullptr; }
    [[nodiscard]] bool LoadsFromDescription() const { return loadsFromDescription_; }
    // Returns the database whose GetResource returned it last; null before, and once that database
    // has ended.
    [[nodiscard]] ResourceDatabase* LastGivenBy() const { return lastGivenBy_; }

private:
    friend class ResourceControl;  // what the other parts of the resource system do

    // What the thread that finishes a load takes at once.
    struct Taken {
        std::uint32_t acquires = 0;
        std::uint32_t uses = 0;
    };

    // Claims the resource, loads it and acquires it.
    [[nodiscard]] ResourceResult LoadAndUse();
    // Moves to Loading. False if the bin is destroying the resource. This and the next two need the
    // caller's claim.
    [[nodiscard]] bool BeginLoading();
    [[nodiscard]] bool LoadFromFile();
    // Finishes a load whose file was read. On success the caller has taken what it asked for.
    [[nodiscard]] bool Finish(Taken taken);
    void MakeAvailable(Taken taken);
    // Acquires the resource if it is available, or inactive in the bin.
    [[nodiscard]] bool UseIfAvailable();
    void CountUses(std::uint32_t uses);
    void ForgetUses();
    // Adds the resource and its sizes to the accounts, or brings its sizes there up to date.
    void EnterAccounts();
    void LeaveAccounts();

    // Makes every change of state, and keeps the accounts. Returns false, and changes nothing, if
    // the resource is not in state `from`. Throws Exception for a move that ResourceState.h does
    // not have.
    [[nodiscard]] bool TryMove(ResourceState from, ResourceState to);
    // Moves from the present state. Only for a caller whose lock or claim keeps others from moving
    // the resource; throws Exception if one did all the same.
    void Move(ResourceState to);

    // What it is. Set before other threads can find it.
    const InternedString name_;
    InternedString sourceName_;
    ResourceType* type_ = nullptr;  // null if no type made it
    bool loadsFromDescription_ = false;
    const float creationTime_;

    // Its databases; null once they have ended.
    std::atomic<ResourceDatabase*> home_;
    std::atomic<ResourceDatabase*> lastGivenBy_ = nullptr;

    // The counts. The first three change under the home's lock; they are atomic because the getters
    // read them without it.
    std::atomic<std::uint32_t> references_ = 0;
    std::atomic<std::uint32_t> acquires_ = 0;
    std::atomic<std::uint32_t> uses_ = 0;
    std::atomic<std::uint32_t> holders_ = 1;

    // Its load.
    std::atomic<ResourceState> state_;  // changed by TryMove alone
    std::atomic<std::uint32_t> requests_ = 0;
    std::atomic<bool> isQueued_ = false;  // changed under the lock of the queue's items

    // Under the home's lock.
    std::vector<ResourceListener*> listeners_;
    bool wasAvailable_ = false;

    // Seconds: when it was last used, by the resource system's clock; when it expires, by the
    // bin's.
    std::atomic<float> lastUse_;
    std::atomic<float> expiry_ = 0;

    std::atomic<int> dataSize_ = -1;  // bytes, -1 while unknown, as the next
    std::atomic<int> secondSize_ = -1;
    ResourceAccounts::Share share_;
};

// Holds on resources, to be dropped outside of all locks: a destructor may lead back into the
// resource system.
using ResourceHolds = std::vector<RefPtr<Resource>>;

// Makes a resource whose one holder is the returned pointer.
template <typename T, typename... Arguments>
[[nodiscard]] RefPtr<Resource> MakeResource(Arguments&&... arguments) {
    RefPtr<Resource> made(new T(std::forward<Arguments>(arguments)...));
    made->Release();  // the hold it was made with
    return made;
}

// Keeps a resource loaded while it lives: acquires it, and releases it at the end if that
// succeeded. It also holds the object, but adds no reference. One thread at a time.
class ResourceUse {
public:
    explicit ResourceUse(Resource& resource) : resource_(&resource) { resource.Acquire(result_); }
    ResourceUse(ResourceUse&&) noexcept = default;
    ResourceUse& operator=(ResourceUse&&) = delete;
    ~ResourceUse() {
        if (*this) resource_->ReleaseUse();
    }

    // True if the resource is in use.
    explicit operator bool() const { return resource_ && result_ == RES_RESOURCEOK; }
    [[nodiscard]] ResourceResult Result() const { return result_; }

private:
    RefPtr<Resource> resource_;  // null once moved from
    ResourceResult result_ = RES_RESOURCEOK;
};

// A resource that redirects to another one: its database gives out the target under its name.
class RedirResource final : public Resource {
public:
    // Becomes a holder of `target`.
    RedirResource(ResourceDatabase* home, const InternedString& name, Resource& target);
    ~RedirResource() override;
    [[nodiscard]] Resource* GetTarget() const override { return target_.Get(); }

private:
    const RefPtr<Resource> target_;
};

// Returns the resource at the end of all redirects.
[[nodiscard]] Resource& FollowRedirects(Resource& resource);

}  // namespace Vorn
