// A named collection of resources over a mount: the resource "textures/wall.tga" of the database
// "base" is the file "base:textures/wall.tga".
//
// A resource is made when its name is first looked up and its file exists. A lookup tries, in this
// order: the table; the file, then its description (ResourceTypes.h), under each prefix and finally
// without one; a type that needs no file; the fallback databases. A name that is not found leaves
// an invalid resource in the table, so that later lookups do not search again.
//
// Decided here:
// - Each GetResource adds a reference to the resource it returns, also through fallbacks and
//   redirects. ReleaseResource takes one from the resource that the table has under the name.
// - In a list of alternatives, a name that is known to be missing is skipped.
// - Fallbacks may form a ring; each database is asked once.
// - Names differ by letter case, although archives find files regardless of it: two spellings are
//   two resources.
// - A database that ends also removes the redirects to its resources from other databases.
//
// A database cannot have a name of one letter, which would name a drive. A name whose path would
// exceed 259 bytes has no file.
//
// Threads: any, except for the lists of prefixes and fallbacks, which are filled before lookups.
// Two threads that ask for a new name get the same resource. The lock guards the table and the
// references of the resources; it is not held while files are searched or types and fallbacks
// asked. When the database ends, no other thread may use it or its resources.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "KernelResource/Resource.h"
#include "kernel/InternedString.h"
#include "kernel/SyncObject.h"

namespace Vorn {

// Flags of GetResource.
inline constexpr std::uint32_t kLeaveInQueue = 2;     // the resource stays in the load queue
inline constexpr std::uint32_t kNoNegativeEntry = 4;  // a missing name is not recorded

class ResourceDatabase {
public:
    class SearchHandle;
    class RDBSearchHandle;

    // Throws Exception if there is no resource system.
    explicit ResourceDatabase(const InternedString& name);
    ResourceDatabase(const ResourceDatabase&) = delete;
    ResourceDatabase& operator=(const ResourceDatabase&) = delete;

    // The virtual operations, in slot order, which is fixed.

    // Waits for the loads of its resources, ends them, and closes everything mounted under its
    // name.
    virtual ~ResourceDatabase();
    // Returns the resource of a name, or of the first name found in a list separated by ';'. Null
    // if there is none or it is invalid. The caller gets a reference. The resource leaves the load
    // queue if its load has not begun: the caller is expected to acquire it.
    [[nodiscard]] virtual Resource* GetResource(const InternedString& name,
                                                std::uint32_t flags = 0);
    // Returns a reference; false if there was none.
    virtual bool ReleaseResource(const InternedString& name);
    // Returns "base:a/b.tga" for "a/b.tga"; without a database name, the name itself.
    [[nodiscard]] virtual InternedString QualifyName(const InternedString& name) const;
    [[nodiscard]] virtual std::unique_ptr<RDBSearchHandle> CreateSearchHandle() const;

    // Adds a database to ask, in order, for names that this one cannot find. Borrowed.
    void AddFallback(ResourceDatabase& database) { fallbacks_.push_back(&database); }
    // Adds a folder to try, in order, before the name as it is.
    void AddPrefix(const InternedString& folder) { prefixes_.push_back(folder); }

    [[nodiscard]] const InternedString& Name() const { return name_; }
    [[nodiscard]] std::uint32_t Lookups() const { return lookups_; }  // of the table
    [[nodiscard]] std::uint32_t Misses() const { return misses_; }
    [[nodiscard]] std::uint32_t MissesHandled() const { return missesHandled_; }
    [[nodiscard]] std::size_t EntryCount() const;  // negative ones included

protected:
    // Waits for the loads of its resources, for derived databases that close the mount themselves.
    void EndLoads();
    // Closes everything mounted under a name, if anything is.
    static void CloseMount(const InternedString& name);

private:
    friend class ResourceCore;  // takes the lock, and detaches

    using Table = std::unordered_map<InternedString, RefPtr<Resource>, InternedHash>;

    // The course of one lookup: the questions asked so far, and the redirects followed.
    struct Trail {
        std::vector<std::pair<const ResourceDatabase*, InternedString>> asked;
        int redirects = 0;
    };
    // A lookup's result: the resource, with a reference for the caller unless it is invalid, and
    // its table entry.
    struct Found {
        RefPtr<Resource> entry;
        RefPtr<Resource> resource;
    };

    [[nodiscard]] Found FindAlternatives(const InternedString& name);
    [[nodiscard]] Found FindOne(const InternedString& name);
    [[nodiscard]] RefPtr<Resource> LookUp(const InternedString& name, Trail& trail);
    [[nodiscard]] RefPtr<Resource> Create(const InternedString& name, Trail& trail);
    [[nodiscard]] RefPtr<Resource> CreateFromFiles(const InternedString& folder,
                                                   const InternedString& name, Trail& trail);
    [[nodiscard]] RefPtr<Resource> CreateRedirect(const InternedString& name,
                                                  const InternedString& source,
                                                  const std::string& description, Trail& trail);
    // Returns the table's entry, or null.
    [[nodiscard]] RefPtr<Resource> EntryOf(const InternedString& name) const;
    // Puts a resource into the table, unless the name has an entry that is not being destroyed.
    // Returns the entry that the table has then.
    RefPtr<Resource> Insert(const InternedString& name, const RefPtr<Resource>& made);
    void RecordMissing(const InternedString& name);
    // Returns the table's resources, and those that its redirects refer to if this is their home.
    [[nodiscard]] ResourceHolds Resources() const;

    [[nodiscard]] CriticalSection& Lock() { return lock_; }
    // Removes the entry of a name if it is `resource` or refers to it. Its hold goes to `detached`.
    void Detach(const InternedString& name, const Resource& resource, ResourceHolds& detached);

    const InternedString name_;
    mutable CriticalSection lock_{"ResourceDatabase"};
    Table resources_ VORN_GUARDED_BY(lock_);
    std::vector<ResourceDatabase*> fallbacks_;
    std::vector<InternedString> prefixes_;
    std::atomic<std::uint32_t> lookups_ = 0;
    std::atomic<std::uint32_t> misses_ = 0;
    std::atomic<std::uint32_t> missesHandled_ = 0;
};

}  // namespace Vorn
