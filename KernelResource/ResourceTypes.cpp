#include "KernelResource/ResourceTypes.h"

#include <algorithm>

#include "kernel/String.h"
#include "services/OptionList.h"
#include "services/OptionSources.h"

namespace Vorn {

RefPtr<Resource> ResourceTypes::CreateFromFile(ResourceDatabase& home, const InternedString& name,
                                               const InternedString& source) const {
    const auto type = std::ranges::find_if(
        types_, [&](const ResourceType* t) { return t->TakesFile(name.View()); });
    const bool known = type != types_.end();
    RefPtr<Resource> made =
        known ? (*type)->Create(&home, name) : MakeResource<Resource>(&home, name);
    made->type_ = known ? *type : nullptr;
    made->sourceName_ = source;
    return made;
}

RefPtr<Resource> ResourceTypes::CreateDescribed(ResourceDatabase& home, const InternedString& name,
                                                const InternedString& source) const {
    RefPtr<Resource> made = CreateFromFile(home, name, source);
    made->loadsFromDescription_ = true;
    return made;
}

RefPtr<Resource> ResourceTypes::CreateByName(ResourceDatabase& home,
                                             const InternedString& name) const {
    const auto type = std::ranges::find_if(
        types_, [&](const ResourceType* t) { return t->TakesName(name.View()); });
    if (type == types_.end()) return {};
    RefPtr<Resource> made = (*type)->Create(&home, name);
    made->type_ = *type;
    return made;
}

InternedString RedirectOf(const char* descriptionFile) {
    OptionList options;
    ParseOptionFile(options, descriptionFile);
    String name;
    GetOptionString(options, "Redirect", name, "");
    return name.Length() == 0 ? InternedString() : Intern(name.Text());
}

}  // namespace Vorn
