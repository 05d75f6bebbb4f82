#include "tools/va/tag/TagJudge.h"

#include <algorithm>

#include "assetdata/ChunkBody.h"

namespace va::tool {

void HeldFindings::OnFinding(const Vorn::TagFinding& finding) {
    // A finding without a name is about the text as a whole, such as a zero byte that ends it.
    if (finding.place.line != 0 && finding.about.empty()) {
        held_.push_back({finding, UINT64_MAX});
        return;
    }
    // What follows a closing quote is read as the next tag, but is a fault of this one.
    const bool isAboutLast = finding.fault == Vorn::TagFault::BehindQuote && !tags_.empty();
    held_.push_back({finding, isAboutLast ? tags_.back().begin : finding.place.offset});
}

void HeldFindings::OnTagEnd(const Vorn::OCSChunk& tag, const Vorn::TagExtent& extent) {
    // An empty value still takes the place of its name.
    tags_.push_back({&tag, extent.name, extent.end});
}

void HeldFindings::Tell(const Vorn::OCSChunk& tag, Vorn::TagObserver& observer) const {
    const auto placed = std::ranges::find(tags_, &tag, &PlacedTag::tag);
    const bool isText = placed != tags_.end();
    const std::uint64_t begin = isText ? placed->begin : Vorn::ChunkFileOffset(tag).value_or(0);
    const std::uint64_t end = isText ? placed->end : Vorn::ChunkFileEnd(tag).value_or(UINT64_MAX);
    for (const Held& held : held_) {
        if (held.offset >= begin && held.offset < end) observer.OnFinding(held.finding);
    }
}

void HeldFindings::TellAll(Vorn::TagObserver& observer) const {
    for (const Held& held : held_) observer.OnFinding(held.finding);
}

}  // namespace va::tool
