// Arbitrary bytes are read as a tag text. Reported positions lie inside the bytes, and every tag
// that was read can be found.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "assetdata/TagWalk.h"
#include "tests/assetdata/TagSamples.h"

namespace {

using namespace Vorn;

void Require(bool holds) {
    if (!holds) std::abort();
}

class Watcher final : public TagObserver {
public:
    explicit Watcher(std::size_t size) : size_(size) {}

    void OnFinding(const TagFinding& finding) override { Check(finding.place); }
    void OnTag(const OCSChunk& /*tag*/, const TagPlace& place) override {
        Require(place.offset >= last_);
        last_ = place.offset;
        Check(place);
    }

    void OnTagEnd(const OCSChunk& /*tag*/, const TagExtent& extent) override {
        Require(extent.name <= extent.nameEnd && extent.nameEnd <= extent.value);
        Require(extent.value <= extent.end && extent.end <= size_);
    }

private:
    void Check(const TagPlace& place) const {
        Require(place.offset <= size_);
        Require(place.line >= 1 && place.column >= 1 && place.column <= place.offset + 1);
    }

    std::size_t size_;
    std::uint64_t last_ = 0;
};

void LookUp(const OCSChunk& container) {
    for (std::uint32_t i = 0; i < container.ChildCount(); ++i) {
        const InternedString name = container.ChildName(i);
        const OCSChunkRef first = container.FindChild(name);
        Require(first && container.ChildAt(i).name == name.View());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Watcher watcher(size);
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const OCSChunkRef root = Testing::ReadText(text, &watcher);
    LookUp(*root);
    for (TagWalk walk(*root); walk.Next();) {
        if (!walk.IsLeaving()) LookUp(walk.Tag());
    }
    return 0;
}
