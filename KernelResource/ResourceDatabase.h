// A named collection of resources over a mount: the resource "textures/wall.tga" of the database
// "base" is the file "base:textures/wall.tga".
//
// A resource is made when its name is first looked up and its file exists. What is looked up for a
// name, in this order: the table; the file, then its description (ResourceTypes.h), under each
// prefix and at last without one; a type that needs no file; the fallback databases. A name that
// was not found leaves an invalid resource in the table, so that it is not looked for again.
//
// Decided here, where lookups leave it open:
// - Each name that GetResource gives out has one reference more, also through fallbacks and
//   redirects, and ReleaseResource takes one from what the table has under the name.
// - In a list of alternatives one that is known to be missing is passed over.
// - Fallbacks may go round in a ring; each database is asked once.
// - Names are compared with their letter case, though archives find files without: two spellings
//   are two resources.
// - The end of a database also takes the redirects to its resources out of other databases.
//
// Names of one letter name drives, not databases. A name that makes a path of more than 259 bytes
// has no file.
//
// Threads: any, but for the lists of prefixes and fallbacks, which are filled before lookups. Two
// threads that ask for a new name get one resource. Its lock guards the table and the references
// of its resources, and is not held while files are looked for or types and fallbacks are asked.
// No thread uses the database or its resources when it ends.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "KernelResource/Resource.h"
#include "kernel/InternedString.h"
#include "kernel/SyncObject.h"

namespace Vorn {

// Flags of GetResource.
inline constexpr std::uint32_t kLeaveInQueue = 2;     // the load queue goes on with the resource
inline constexpr std::uint32_t kNoNegativeEntry = 4;  // a name that is missing is not recorded

class ResourceDatabase {
public:
    class SearchHandle;
    class RDBSearchHandle;

    // Throws Exception when there is no resource system.
    explicit ResourceDatabase(const InternedString& name);
    ResourceDatabase(const ResourceDatabase&) = delete;
    ResourceDatabase& operator=(const ResourceDatabase&) = delete;

    // The virtual operations, in slot order.

    // Ends its resources, waiting for their loads, and closes everything mounted under its name.
    virtual ~ResourceDatabase();
    // The resource of a name, or of the first of several names between ';' that there is; null
    // when there is none or it is invalid. The caller has a reference, and loads it by Acquire:
    // therefore it leaves the load queue, if its load has not begun.
    [[nodiscard]] virtual Resource* GetResource(const InternedString& name,
                                                std::uint32_t flags = 0);
    // Gives a reference back; false when there is none.
    virtual bool ReleaseResource(const InternedString& name);
    // "base:a/b.tga" of "a/b.tga"; without a database name the name itself.
    [[nodiscard]] virtual InternedString QualifyName(const InternedString& name) const;
    [[nodiscard]] virtual std::unique_ptr<RDBSearchHandle> CreateSearchHandle() const;

    // Asked, in order, for names that this database cannot find. Borrowed.
    void AddFallback(ResourceDatabase& database) { fallbacks_.push_back(&database); }
    // Folders tried, in order, before the name as it is.
    void AddPrefix(const InternedString& folder) { prefixes_.push_back(folder); }

    [[nodiscard]] const InternedString& Name() const { return name_; }
    [[nodiscard]] std::uint32_t Lookups() const { return lookups_; }  // of the table
    [[nodiscard]] std::uint32_t Misses() const { return misses_; }
    [[nodiscard]] std::uint32_t MissesHandled() const { return missesHandled_; }
    [[nodiscard]] std::size_t EntryCount() const;  // negative ones included

    // For the resource system.
    [[nodiscard]] CriticalSection& Lock() { return lock_; }
    // Takes the entry of a name out if it is or stands for `resource`. Its hold goes to `detached`.
    void Detach(const InternedString& name, const Resource& resource,
                std::vector<RefPtr<Resource>>& detached);

protected:
    // Waits for the loads of its resources; for derived databases that close the mount themselves.
    void EndLoads();
    // Closes everything mounted under a name, if anything is.
    static void CloseMount(const InternedString& name);

private:
    using Table = std::unordered_map<InternedString, RefPtr<Resource>, InternedHash>;

    // How one lookup went: what was asked, and how many redirects it followed.
    struct Trail {
        std::vector<std::pair<const ResourceDatabase*, InternedString>> asked;
        int redirects = 0;
    };
    // A resource with a reference for the caller, or an invalid one without; and its table's entry.
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
                                                  const InternedString& source, Trail& trail);
    // The table's entry, or null.
    [[nodiscard]] RefPtr<Resource> EntryOf(const InternedString& name) const;
    // Takes a resource into the table, unless the name has an entry that is not being destroyed.
    // What the table has then.
    RefPtr<Resource> Insert(const InternedString& name, const RefPtr<Resource>& made);
    void RecordMissing(const InternedString& name);
    // Those of the table, and those at the end of its redirects that this database made.
    [[nodiscard]] std::vector<RefPtr<Resource>> Resources() const;

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
