// A tag: a container of named children, or a leaf with a typed value.
//
// Trees come from the text form (TDBContainerTag, TDBDataTag) or from a chunk file (TDBBinarySoup,
// TDBDataChunk); a caller need not know which. A lookup returns the first child of a name; children
// keep the order in which they were added. Names are compared by their bytes, and a child may have
// no name, which is the null handle.
//
// Threads: any number may read a tree while none changes it. References may be taken and released
// on any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "assetdata/OCSRawData.h"
#include "assetdata/ReferenceCountMP.h"
#include "kernel/InternedString.h"

namespace Vorn {

enum TagType : std::uint32_t {
    kTagNone = 0,       // no value
    kTagContainer = 1,  // children
    kTagRaw = 2,        // bytes; from chunk files only
    kTagFloat = 3,      // 32-bit floats
    kTagText = 4,       // the text and one zero byte
    kTagInteger = 6,    // signed 32-bit integers
    kTagKUID = 7,       // KUID pair forms
};

class OCSChunk;
using OCSChunkRef = RefPtr<OCSChunk>;

// Returns the text of a name; null data() for the null handle.
[[nodiscard]] inline std::string_view NameView(const InternedString& name) {
    return name ? name.View() : std::string_view();
}

// A child by its position.
struct NamedChild {
    std::string_view name;  // lives as long as the container is unchanged; null data() is no name
    OCSChunkRef child;
};

// The order of the virtual operations is fixed. The defaults are a leaf's.
class OCSChunk : public ReferenceCountMP {
public:
    // Returns null if there is no such child.
    [[nodiscard]] virtual OCSChunkRef FindChild(const InternedString& /*name*/) { return {}; }
    [[nodiscard]] virtual OCSChunkRef FindChild(const InternedString& /*name*/) const { return {}; }
    [[nodiscard]] virtual std::uint32_t ChildCount() const { return 0; }
    // Returns null past the end.
    [[nodiscard]] virtual InternedString ChildName(std::uint32_t /*index*/) const { return {}; }
    virtual void Clear() {}
    // Exchanges the children of the first pairs that hold `a` and `b`; names stay where they are.
    virtual void SwapChildren(const OCSChunkRef& /*a*/, const OCSChunkRef& /*b*/) {}
    // Appends a child; ignores null. A tree must not contain itself: it would never be freed.
    virtual void AddChild(const InternedString& /*name*/, const OCSChunkRef& /*child*/) {}
    // Removes the first pair that holds `child`.
    virtual void RemoveChild(const OCSChunkRef& /*child*/) {}
    // Makes a tag that may be added here: a container for type 1, else a leaf without value.
    [[nodiscard]] virtual OCSChunkRef CreateChunk(std::uint32_t /*type*/) { return {}; }
    [[nodiscard]] virtual const std::byte* Data() const { return nullptr; }
    [[nodiscard]] virtual std::uint32_t DataSize() const { return 0; }
    [[nodiscard]] virtual std::uint32_t GetType() const { return kTagNone; }
    virtual void SetData(std::uint32_t /*type*/, const OCSRawData& /*value*/) {}

    // Returns the child at a position, also where several have its name; a null child past the end.
    [[nodiscard]] virtual NamedChild ChildAt(std::uint32_t /*index*/) const { return {}; }

    [[nodiscard]] std::span<const std::byte> DataBytes() const { return {Data(), DataSize()}; }
};

}  // namespace Vorn
