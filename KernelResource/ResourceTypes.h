// The kinds of resources that a host or its plug-ins know, and how databases get new resources.
//
// A file "name" becomes a resource of the first type that takes the name; a file that no type takes
// becomes a plain Resource, which is found and cannot be loaded.
//
// If "name" is missing, a text file "name.txt" in its place is a description: option text
// (services/OptionList.h) that makes "name" a redirect.
// - "Redirect=other" refers to the resource "other", looked up like any name in the same database.
//   If there is none, or the redirects form a ring or exceed 16 steps, the target is an invalid
//   resource.
// - Any other text describes the resource itself: the target is a resource of the type that takes
//   the name, and it loads from the description (Resource::LoadDescription).
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

    // Returns whether files of that name hold resources of this kind.
    [[nodiscard]] virtual bool TakesFile(std::string_view name) const = 0;
    // Returns whether a resource of that name needs no file.
    [[nodiscard]] virtual bool TakesName(std::string_view /*name*/) const { return false; }
    // Makes a resource, not loaded. Called by lookups and by Duplicate, on any thread, also on
    // several at once, outside of all locks of this layer. Of several threads that look up one new
    // name, each makes a resource and only the first one listed stays, so this function must not
    // register what it makes.
    [[nodiscard]] virtual RefPtr<Resource> Create(ResourceDatabase* home,
                                                  const InternedString& name) = 0;
};

class ResourceTypes {
public:
    // Types are asked in the order in which they were added. Borrowed until they are removed.
    void Add(ResourceType& type) { types_.push_back(&type); }
    void Remove(ResourceType& type) { std::erase(types_, &type); }

    // Makes the resource of a file; `source` is its qualified name. A described one loads from the
    // description `source` + ".txt" instead. Never null.
    [[nodiscard]] RefPtr<Resource> Create(ResourceDatabase& home, const InternedString& name,
                                          const InternedString& source, bool isDescribed) const;
    // Makes a resource that needs no file, or returns null.
    [[nodiscard]] RefPtr<Resource> CreateByName(ResourceDatabase& home,
                                                const InternedString& name) const;

private:
    std::vector<ResourceType*> types_;
};

// Returns the name to which a description redirects; null if it describes the resource itself.
[[nodiscard]] InternedString RedirectOf(const char* descriptionFile);

}  // namespace Vorn
