#include "KernelResource/ResourceDatabase.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "KernelResource/ResourceControl.h"
#include "KernelResource/ResourceCore.h"
#include "KernelResource/SearchHandle.h"
#include "KernelStandard/File.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"

namespace Vorn {
namespace {

constexpr int kMostRedirects = 16;  // in one lookup; rings end earlier, by the trail
constexpr std::string_view kDescription = ".txt";

// Takes the next of several names between ';' off the front.
[[nodiscard]] InternedString TakeAlternative(std::string_view& names) {
    const std::size_t end = std::min(names.find(';'), names.size());
    InternedString name = Intern(names.substr(0, end));
    names.remove_prefix(std::min(end + 1, names.size()));
    return name;
}

// Returns the path of a name under a folder; null if it is too long for one.
[[nodiscard]] InternedString PathOf(const InternedString& folder, const InternedString& name) try {
    PathBuffer path{folder.View()};
    AppendPathComponent(path, name.View());
    return Intern(path.View());
} catch (const FileEx&) {
    return {};
}

}  // namespace

ResourceDatabase::ResourceDatabase(const InternedString& name) : name_(name) {
    ResourceCore::Instance().Register(*this);
}

ResourceDatabase::~ResourceDatabase() {
    EndLoads();
    ResourceCore& core = ResourceCore::Instance();
    const ResourceHolds resources = Resources();
    ResourceHolds detached;  // dropped outside of the locks
    {
        const ScopedLock detaching(core.DetachingLock());
        Table table;
        {
            const ScopedLock hold(lock_);
            for (const RefPtr<Resource>& resource : resources) {
                core.Revalidate(*resource);  // out of the bin, which retires it no more
                ResourceControl(*resource).End();
            }
            table.swap(resources_);
        }
        for (const RefPtr<Resource>& resource : resources) {
            core.DetachRedirects(*resource, detached);
        }
        for (auto& [name, resource] : table) detached.push_back(std::move(resource));
        core.Unregister(*this);
    }
    CloseMount(name_);
}

void ResourceDatabase::EndLoads() {
    ResourceCore& core = ResourceCore::Instance();
    const ResourceHolds resources = Resources();
    // All leave the queue first, so that the worker begins no load while we wait for another.
    for (const RefPtr<Resource>& resource : resources) core.TakeOutOfQueue(*resource);
    for (const RefPtr<Resource>& resource : resources) core.WithdrawLoad(*resource);
}

void ResourceDatabase::CloseMount(const InternedString& name) {
    if (FileSubstList::Instance().IsMounted(name)) Subst(name, nullptr);
}

Resource* ResourceDatabase::GetResource(const InternedString& name, std::uint32_t flags) {
    if (name.Length() == 0) return nullptr;
    const Found found = FindAlternatives(name);
    if (!found.resource) {
        ++misses_;
        if ((flags & kNoNegativeEntry) == 0) RecordMissing(name);
        ++missesHandled_;
        return nullptr;
    }
    Resource& resource = *found.resource;
    if (resource.State() == ResourceState::Invalid) return nullptr;

    // A resource of a fallback gets a redirect here, so that ReleaseResource finds it by its name.
    const ResourceDatabase* const home = found.entry->Home();
    if (home && home->Name() != name_) {
        Insert(found.entry->Name(),
               MakeResource<RedirResource>(this, found.entry->Name(), resource));
    }
    ResourceCore& core = ResourceCore::Instance();
    // The caller will acquire it, which is faster than waiting for the queue to get there.
    const bool leave = (flags & kLeaveInQueue) != 0;
    if (!leave && resource.State() == ResourceState::Ready) core.TakeOutOfQueue(resource);
    ResourceControl(resource).GiveOut(*this, core.CurrentTime());
    return &resource;
}

ResourceDatabase::Found ResourceDatabase::FindAlternatives(const InternedString& name) {
    Found missing;
    for (std::string_view names = name.View(); !names.empty();) {
        Found found = FindOne(TakeAlternative(names));
        if (found.resource && found.resource->State() != ResourceState::Invalid) return found;
        if (found.resource) missing = std::move(found);
    }
    return missing;
}

ResourceDatabase::Found ResourceDatabase::FindOne(const InternedString& name) {
    for (;;) {
        Trail trail;
        RefPtr<Resource> entry = LookUp(name, trail);
        if (!entry) return {};
        RefPtr<Resource> resource(&FollowRedirects(*entry));
        // The bin may have retired it since the lookup; then it counts as missing, and the next
        // round makes a new one.
        if (resource->State() == ResourceState::Invalid || resource->AddReference()) {
            return {std::move(entry), std::move(resource)};
        }
    }
}

// Returns the entry of a name, made if necessary, here or in a fallback database. The trail ends
// rings of redirects and of fallbacks.
RefPtr<Resource> ResourceDatabase::LookUp(const InternedString& name, Trail& trail) {
    const std::pair<const ResourceDatabase*, InternedString> question{this, name};
    if (name.Length() == 0 || std::ranges::count(trail.asked, question) != 0) return {};
    trail.asked.push_back(question);

    ++lookups_;
    RefPtr<Resource> entry = EntryOf(name);
    if (entry && FollowRedirects(*entry).State() != ResourceState::Delete) return entry;
    if (const RefPtr<Resource> made = Create(name, trail)) return Insert(name, made);
    for (ResourceDatabase* fallback : fallbacks_) {
        entry = fallback->LookUp(name, trail);
        if (entry && FollowRedirects(*entry).State() != ResourceState::Invalid) return entry;
    }
    return {};
}

RefPtr<Resource> ResourceDatabase::Create(const InternedString& name, Trail& trail) {
    for (const InternedString& prefix : prefixes_) {
        if (RefPtr<Resource> made = CreateFromFiles(prefix, name, trail)) return made;
    }
    if (RefPtr<Resource> made = CreateFromFiles({}, name, trail)) return made;
    return ResourceCore::Instance().Types().CreateByName(*this, name);
}

RefPtr<Resource> ResourceDatabase::CreateFromFiles(const InternedString& folder,
                                                   const InternedString& name, Trail& trail) {
    const InternedString candidate = PathOf(folder, name);
    if (!candidate) return {};
    const InternedString source = QualifyName(candidate);
    if (File::Exists(source.Text()) == RES_OK) {
        return ResourceCore::Instance().Types().Create(*this, name, source, false);
    }
    const std::string description = std::string(source.View()).append(kDescription);
    if (File::Exists(description.c_str()) != RES_OK) return {};
    return CreateRedirect(name, source, description, trail);
}

RefPtr<Resource> ResourceDatabase::CreateRedirect(const InternedString& name,
                                                  const InternedString& source,
                                                  const std::string& description, Trail& trail) {
    const InternedString other = RedirectOf(description.c_str());
    RefPtr<Resource> target;
    if (!other) {
        target = ResourceCore::Instance().Types().Create(*this, name, source, true);
        // It is never inserted into a table, so that nothing else would make it ready.
        ResourceControl(*target).Move(ResourceState::Ready);
    } else if (++trail.redirects <= kMostRedirects) {
        target = LookUp(other, trail);
    }
    if (!target) {
        target = MakeResource<Resource>(this, other);
        ResourceControl(*target).Move(ResourceState::Invalid);
    }
    return MakeResource<RedirResource>(this, name, FollowRedirects(*target));
}

RefPtr<Resource> ResourceDatabase::EntryOf(const InternedString& name) const {
    const ScopedLock hold(lock_);
    const auto entry = resources_.find(name);
    return entry == resources_.end() ? RefPtr<Resource>() : entry->second;
}

RefPtr<Resource> ResourceDatabase::Insert(const InternedString& name,
                                          const RefPtr<Resource>& made) {
    // Accounted before other threads can find it: a load that they run would account it too.
    if (made->State() != ResourceState::Invalid) ResourceControl(*made).EnterAccounts();
    RefPtr<Resource> replaced;  // declared first, so dropped after the lock
    const ScopedLock hold(lock_);
    RefPtr<Resource>& entry = resources_[name];
    if (entry && FollowRedirects(*entry).State() != ResourceState::Delete) return entry;
    replaced = std::exchange(entry, made);
    if (made->State() == ResourceState::None) ResourceControl(*made).Move(ResourceState::Ready);
    return made;
}

void ResourceDatabase::RecordMissing(const InternedString& name) {
    const std::string_view text = name.View();
    const std::size_t alternatives = text.find(';');
    // The key is fixed: a list of alternatives is recorded from its first ';' on.
    const InternedString key =
        alternatives == std::string_view::npos ? name : Intern(text.substr(alternatives));
    const auto negative = MakeResource<Resource>(this, key);
    ResourceControl(*negative).Move(ResourceState::Invalid);
    Insert(key, negative);
}

bool ResourceDatabase::ReleaseResource(const InternedString& name) {
    for (std::string_view names = name.View(); !names.empty();) {
        const RefPtr<Resource> entry = EntryOf(TakeAlternative(names));
        if (!entry) continue;
        Resource& resource = FollowRedirects(*entry);
        if (resource.State() != ResourceState::Invalid) return resource.ReleaseReference();
    }
    return false;
}

InternedString ResourceDatabase::QualifyName(const InternedString& name) const {
    if (name_.Length() == 0) return name;
    return Intern(std::string(name_.View()).append(":").append(name.View()));
}

std::unique_ptr<ResourceDatabase::RDBSearchHandle> ResourceDatabase::CreateSearchHandle() const {
    return std::make_unique<RDBSearchHandle>();
}

std::size_t ResourceDatabase::EntryCount() const {
    const ScopedLock hold(lock_);
    return resources_.size();
}

void ResourceDatabase::Detach(const InternedString& name, const Resource& resource,
                              ResourceHolds& detached) {
    const ScopedLock hold(lock_);
    const auto entry = resources_.find(name);
    if (entry == resources_.end()) return;
    if (&FollowRedirects(*entry->second) != &resource) return;
    detached.push_back(std::move(entry->second));
    resources_.erase(entry);
}

ResourceHolds ResourceDatabase::Resources() const {
    const ScopedLock hold(lock_);
    ResourceHolds resources;
    resources.reserve(resources_.size());
    for (const auto& [name, resource] : resources_) {
        resources.push_back(resource);
        Resource& target = FollowRedirects(*resource);
        // A resource made from a description is in no table; only its redirect refers to it.
        if (&target != resource.Get() && target.Home() == this) resources.emplace_back(&target);
    }
    return resources;
}

}  // namespace Vorn
