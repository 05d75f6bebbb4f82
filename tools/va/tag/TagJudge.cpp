#include "tools/va/tag/TagJudge.h"

#include <algorithm>

#include "assetdata/ChunkBody.h"

namespace va::tool {

void HeldFindings::OnFinding(const Vorn::TagFinding& finding) {
    // A finding without a name concerns the whole text, such as a zero byte that ends it.
    if (finding.place.line != 0 && finding.about.empty()) {
        whole_.push_back(finding);
        return;
    }
    // Text after a closing quote is read as the next tag, but it is a fault of the one before.
    const bool isAboutLast = finding.fault == Vorn::TagFault::AfterQuote && last_.tag;
    held_.push_back({finding, isAboutLast ? last_.begin : finding.place.offset});
    if (isAboutLast) tags_.push_back(last_);
}

void HeldFindings::OnTagEnd(const Vorn::OCSChunk& tag, const Vorn::TagExtent& extent) {
    last_ = {&tag, extent.name, extent.end};
    if (!held_.empty() && held_.back().offset >= extent.name) tags_.push_back(last_);
}

void HeldFindings::Report(const Vorn::OCSChunk& tag, Vorn::TagObserver& observer) const {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    if (const auto offset = Vorn::ChunkFileOffset(tag)) {
        begin = *offset;
        end = Vorn::ChunkFileEnd(tag).value_or(begin);
    } else if (const auto placed = std::ranges::find(tags_, &tag, &PlacedTag::tag);
               placed != tags_.end()) {
        begin = placed->begin;
        end = placed->end;
    }
    for (const Held& held : held_) {
        if (held.offset >= begin && held.offset < end) observer.OnFinding(held.finding);
    }
}

void HeldFindings::ReportAll(Vorn::TagObserver& observer) const {
    for (const Held& held : held_) observer.OnFinding(held.finding);
    for (const Vorn::TagFinding& finding : whole_) observer.OnFinding(finding);
}

}  // namespace va::tool
