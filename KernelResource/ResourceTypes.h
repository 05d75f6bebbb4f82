// The kinds of resources that a host or its plug-ins know, and how databases get new resources.
//
// A file "name" becomes a resource of the first type that takes the name; a file that no type takes
// becomes a plain Resource, which is found and cannot be loaded.
//
// A text file "name.txt" that stands where "name" is missing is a description: option text
// (services/OptionList.h) that makes "name" a redirect.
// - "Redirect=other" lets it stand for the resource "other", looked up like any name in the same
//   database. Where there is none, or the redirects go round in a ring or over more than 16
//   steps, it stands for an invalid resource.
// - Any other text describes the resource itself: "name" stands for a resource of the type that
//   takes the name, which loads it from the description (Resource::LoadDescription).
//
// Threads: types are added and removed while no thread looks anything up.
#pragma once

#include <string_view>
#include <vector>

#include "KernelResource/Resource.h"

namespace Vorn {

// Makes the resources of one kind. Outlives them.
class ResourceType {
public:
    virtual ~ResourceType() = default;

    // Whether files of that name hold resources of this kind.
    [[nodiscard]] virtual bool TakesFile(std::string_view name) const = 0;
    // Whether a resource of that name needs no file.
    [[nodiscard]] virtual bool TakesName(std::string_view /*name*/) const { return false; }
    // A new one, not loaded. Any thread that looks a resource up or duplicates one calls this, and
    // several may at once, outside of all locks of this layer. It may be called more often than
    // resources are listed: of several threads that look for one missing name each makes one, and
    // the first to be listed stays. So it must not register what it makes.
    [[nodiscard]] virtual RefPtr<Resource> Create(ResourceDatabase* home,
                                                  const InternedString& name) = 0;
};

class ResourceTypes {
public:
    // Types are asked in the order in which they came. Borrowed until they are removed.
    void Add(ResourceType& type) { types_.push_back(&type); }
    void Remove(ResourceType& type) { std::erase(types_, &type); }

    // A resource of a file, `source` being its qualified name. Never null.
    [[nodiscard]] RefPtr<Resource> CreateFromFile(ResourceDatabase& home,
                                                  const InternedString& name,
                                                  const InternedString& source) const;
    // One that is described by `source` and ".txt". Never null.
    [[nodiscard]] RefPtr<Resource> CreateDescribed(ResourceDatabase& home,
                                                   const InternedString& name,
                                                   const InternedString& source) const;
    // One that needs no file, or null.
    [[nodiscard]] RefPtr<Resource> CreateByName(ResourceDatabase& home,
                                                const InternedString& name) const;

private:
    std::vector<ResourceType*> types_;
};

// The resource to which a description redirects; null when it describes one itself.
[[nodiscard]] InternedString RedirectOf(const char* descriptionFile);

}  // namespace Vorn
