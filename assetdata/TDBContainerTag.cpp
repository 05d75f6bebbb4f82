#include "assetdata/TDBContainerTag.h"

#include "assetdata/TDBDataTag.h"

namespace Vorn {

OCSChunkRef TDBContainerTag::FindChild(const InternedString& name) {
    return std::as_const(*this).FindChild(name);
}

OCSChunkRef TDBContainerTag::FindChild(const InternedString& name) const {
    const ChildList::Pair* pair = children_.Find(name);
    return pair ? pair->child : OCSChunkRef();
}

std::uint32_t TDBContainerTag::ChildCount() const { return children_.Count(); }

InternedString TDBContainerTag::ChildName(std::uint32_t index) const {
    const ChildList::Pair* pair = children_.At(index);
    return pair ? pair->name : InternedString();
}

void TDBContainerTag::Clear() { children_.Clear(); }

void TDBContainerTag::SwapChildren(const OCSChunkRef& a, const OCSChunkRef& b) {
    (void)children_.Swap(a, b);
}

void TDBContainerTag::AddChild(const InternedString& name, const OCSChunkRef& child) {
    if (child) children_.Add(name, child);
}

void TDBContainerTag::RemoveChild(const OCSChunkRef& child) {
    if (child) (void)children_.Remove(child.Get());
}

OCSChunkRef TDBContainerTag::CreateChunk(std::uint32_t type) { return NewTag(type); }

NamedChild TDBContainerTag::ChildAt(std::uint32_t index) const {
    const ChildList::Pair* pair = children_.At(index);
    return pair ? NamedChild{NameView(pair->name), pair->child} : NamedChild{};
}

OCSChunkRef NewTag(std::uint32_t type) {
    if (type == kTagContainer) return OCSChunkRef(new TDBContainerTag);
    return OCSChunkRef(new TDBDataTag);
}

}  // namespace Vorn
