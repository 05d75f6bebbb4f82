// A loadable asset known to a resource database.
//
// It is made unloaded, loaded when a user acquires it (or by the load queue), and handed to the
// resource system's bin when nobody references it any more, which unloads and destroys it.
//
// Who holds what:
// - References keep a resource in its database. GetResource gives one, ReleaseResource takes it.
// - Acquires say that its content is in use. What is acquired is not unloaded.
// - Holders (RefPtr) keep the object in memory: its database's table, the redirects that stand for
//   it, the load queue and the bin. A resource lives on the heap (MakeResource), with its maker
//   as the first holder.
//
// Decided here:
// - An acquire brings an inactive resource back from the bin, as a lookup does.
// - A load that throws has failed; the log has the reason.
// - Acquiring a resource from inside its own load, and rings of such loads over several threads,
//   give RES_LOCK_FAILED. One that the bin is destroying gives RES_NOT_AVAILABLE.
// - Listeners are called on the thread that finishes the load (the one that acquires, or the one
//   that drives the resource system), and may acquire and release. One that is removed on another
//   thread may just be being called.
//
// Threads: any. References, acquires and the passage to and from the bin are guarded by the home
// database's lock. Loads, listeners and destructors run outside of all locks. Resources end before
// the resource system.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>
#include <vector>

#include "KernelResource/ResourceCodes.h"
#include "kernel/InternedString.h"
#include "kernel/ReferenceCount.h"

namespace Vorn {

class RedirResource;
class Resource;
class ResourceDatabase;
class ResourceSystem;
class ResourceType;

class ResourceListener {
public:
    virtual void OnResourceAvailable(Resource& resource) = 0;

protected:
    ~ResourceListener() = default;
};

class Resource {
public:
    // `home` is the database that makes it, or null.
    Resource(ResourceDatabase* home, const InternedString& name);
    Resource(const Resource&) = delete;
    Resource& operator=(const Resource&) = delete;

    // The virtual operations, in slot order.

    // Loads the resource if need be, waiting for a load that is queued or runs elsewhere. On
    // RES_RESOURCEOK it is in use until ReleaseUse. A first load that fails gives
    // RES_FAILED_TO_LOAD, every acquire after that RES_INVALID.
    virtual void Acquire(ResourceResult& result);
    // Undoes one Acquire.
    virtual void ReleaseUse();
    // Whether it is loaded now or can be.
    [[nodiscard]] virtual bool TryLoad();
    // RES_RESOURCEOK, RES_FAILED_TO_LOAD, or RES_PARTIAL_LOAD for anything between.
    virtual void GetStatus(ResourceResult& result) const;
    // Seconds of the bin's clock; the bin sets it when the resource enters.
    virtual void SetExpiry(float seconds) { expiry_ = seconds; }
    // Tells the listener when the resource is available, at once if it has been before. Borrowed
    // until it is removed or the resource ends.
    virtual void AddListener(ResourceListener& listener);
    virtual void RemoveListener(ResourceListener& listener);
    virtual ~Resource();
    // A further resource of this kind, from the same source and for the same database, which does
    // not list it. Null for one that no type made.
    [[nodiscard]] virtual RefPtr<Resource> Duplicate();
    // For classes that can load: reads what `fileName` (a qualified name) holds. On any thread,
    // the load queue's among them.
    virtual void LoadFile(ResourceResult& result, const char* fileName);
    // The same from a description, `fileName` ending in ".txt".
    virtual void LoadDescription(ResourceResult& result, const char* fileName);
    // The second stage, after either: on a thread that acquires or drives, never the queue's.
    virtual void FinishLoad(ResourceResult& result);
    // Calls the listeners. Overriders call this one.
    virtual void OnAvailable();
    // Whether the bin never gets the resource: it stays loaded until its database ends.
    [[nodiscard]] virtual bool StaysLoaded() const { return false; }
    // Bytes, -1 while unknown. Asked until known, then remembered; both count for the memory
    // budget.
    [[nodiscard]] virtual int GetDataSize() { return -1; }
    [[nodiscard]] virtual int GetSecondSize() { return 0; }
    // The resource for which this one stands, or null.
    [[nodiscard]] virtual Resource* GetTarget() const { return nullptr; }
    // Frees what loading made, if a load was tried; the destructor follows soon. Must not wait for
    // other threads.
    virtual void ReleaseData() {}

    // One reference more. False for a resource that the bin is destroying.
    [[nodiscard]] bool AddReference();
    // One less; false when there was none. Without the last one, a resource with a home passes to
    // the bin as soon as it is not in use, whether or not it was ever loaded. Where there is no
    // home, the references are a holder.
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
    [[nodiscard]] float CreationTime() const { return creationTime_; }  // of GetTimeSeconds
    [[nodiscard]] float LastUse() const { return lastUse_; }  // of the resource system's clock
    [[nodiscard]] float Expiry() const { return expiry_; }
    [[nodiscard]] std::uint32_t ReferenceCount() const { return references_; }
    [[nodiscard]] std::uint32_t HolderCount() const { return holders_; }
    [[nodiscard]] std::uint32_t UseCount() const { return uses_; }  // acquires since available
    [[nodiscard]] std::uint32_t AcquireCount() const { return acquires_; }  // not yet released
    [[nodiscard]] std::uint32_t RequestCount() const { return requests_; }  // load attempts
    // Whether the content is needed: somebody acquired it.
    [[nodiscard]] bool IsInUse() const { return acquires_ != 0; }
    [[nodiscard]] bool IsRedirect() const { return GetTarget() != nullptr; }
    [[nodiscard]] bool LoadsFromDescription() const { return loadsFromDescription_; }
    // The database whose GetResource gave it last; null before, and when that database has ended.
    [[nodiscard]] ResourceDatabase* LastGivenBy() const { return lastGivenBy_; }

private:
    friend class LoadQueue;
    friend class ResourceAccounts;
    friend class ResourceBin;
    friend class ResourceDatabase;
    friend class ResourceSystem;
    friend class ResourceTypes;

    // Loading, with the resource claimed.
    [[nodiscard]] ResourceResult LoadAndUse();
    // False for a resource that the bin is destroying.
    [[nodiscard]] bool BeginLoading();
    [[nodiscard]] bool LoadFromFile();
    // Finishes a load whose file was read; on success the caller has acquired the resource
    // `acquires` times and used it `uses` times.
    [[nodiscard]] bool Finish(std::uint32_t acquires, std::uint32_t uses);
    void MakeAvailable(std::uint32_t acquires, std::uint32_t uses);
    // Acquires the resource if it is loaded.
    [[nodiscard]] bool UseIfAvailable();
    void CountUses(std::uint32_t uses);
    void ForgetUses();

    // Counts for the system what the states mean.
    void ChangeState(ResourceState to);
    [[nodiscard]] bool TryChangeState(ResourceState from, ResourceState to);

    const InternedString name_;
    std::atomic<ResourceDatabase*> home_;
    const float creationTime_;
    std::atomic<float> expiry_ = 0;
    std::atomic<std::uint32_t> references_ = 0;
    std::atomic<float> lastUse_;
    std::atomic<std::uint32_t> holders_ = 1;
    std::atomic<ResourceState> state_;
    std::vector<ResourceListener*> listeners_;  // under the home's lock, with wasAvailable_
    bool wasAvailable_ = false;
    ResourceType* type_ = nullptr;
    std::vector<RedirResource*> redirects_;  // kept by the resource system, under its lists' lock
    InternedString sourceName_;
    std::atomic<std::uint32_t> uses_ = 0;
    std::atomic<std::uint32_t> requests_ = 0;
    std::atomic<std::uint32_t> acquires_ = 0;
    std::atomic<int> dataSize_ = -1;
    std::atomic<int> secondSize_ = -1;
    bool isAccounted_ = false;  // both under the accounts' lock
    std::int64_t accountedBytes_ = 0;
    bool loadsFromDescription_ = false;
    std::atomic<bool> isQueued_ = false;
    std::atomic<ResourceDatabase*> lastGivenBy_ = nullptr;
};

// Makes a resource with the caller as its one holder.
template <typename T, typename... Arguments>
[[nodiscard]] RefPtr<Resource> MakeResource(Arguments&&... arguments) {
    RefPtr<Resource> made(new T(std::forward<Arguments>(arguments)...));
    made->Release();  // the hold that it was made with
    return made;
}

// A resource that stands for another one: under its name a database gives out the target.
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
