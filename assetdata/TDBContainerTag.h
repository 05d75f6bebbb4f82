// A container that holds its children itself.
#pragma once

#include "assetdata/ChildList.h"
#include "assetdata/OCSChunk.h"

namespace Vorn {

class TDBContainerTag final : public OCSChunk {
public:
    [[nodiscard]] OCSChunkRef FindChild(const InternedString& name) override;
    [[nodiscard]] OCSChunkRef FindChild(const InternedString& name) const override;
    [[nodiscard]] std::uint32_t ChildCount() const override;
    [[nodiscard]] InternedString ChildName(std::uint32_t index) const override;
    void Clear() override;
    void SwapChildren(const OCSChunkRef& a, const OCSChunkRef& b) override;
    void AddChild(const InternedString& name, const OCSChunkRef& child) override;
    void RemoveChild(const OCSChunkRef& child) override;
    [[nodiscard]] OCSChunkRef CreateChunk(std::uint32_t type) override;
    [[nodiscard]] std::uint32_t GetType() const override { return kTagContainer; }
    [[nodiscard]] NamedChild ChildAt(std::uint32_t index) const override;

private:
    ChildList children_;
};

// Returns a new TDBContainerTag for type 1, else a TDBDataTag without value.
[[nodiscard]] OCSChunkRef NewTag(std::uint32_t type);

}  // namespace Vorn
