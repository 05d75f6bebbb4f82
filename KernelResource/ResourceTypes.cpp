#include "KernelResource/ResourceTypes.h"

#include <algorithm>

#include "KernelResource/ResourceControl.h"
#include "kernel/String.h"
#include "services/OptionList.h"
#include "services/OptionSources.h"

namespace Vorn {

RefPtr<Resource> ResourceTypes::Create(ResourceDatabase& home, const InternedString& name,
                                       const InternedString& source, bool isDescribed) const {
    const auto type = std::ranges::find_if(
        types_, [&](const ResourceType* t) { return t->TakesFile(name.View()); });
    const bool known = type != types_.end();
    RefPtr<Resource> made =
        known ? (*type)->Create(&home, name) : MakeResource<Resource>(&home, name);
    ResourceControl(*made).SetOrigin(known ? *type : nullptr, source, isDescribed);
    return made;
}

RefPtr<Resource> ResourceTypes::CreateByName(ResourceDatabase& home,
                                             const InternedString& name) const {
    const auto type = std::ranges::find_if(
        types_, [&](const ResourceType* t) { return t->TakesName(name.View()); });
    if (type == types_.end()) return {};
    RefPtr<Resource> made = (*type)->Create(&home, name);
    ResourceControl(*made).SetOrigin(*type, made->SourceName(), false);
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
