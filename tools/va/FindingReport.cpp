#include "tools/va/FindingReport.h"

#include <ostream>

namespace va {
namespace {

const char* LabelOf(Vorn::TagWeight weight) {
    switch (weight) {
        case Vorn::TagWeight::Damage:
            return "error: ";
        case Vorn::TagWeight::Loss:
            return "loss: ";
        default:
            return "warning: ";
    }
}

}  // namespace

void FindingReport::OnFinding(const Vorn::TagFinding& finding) {
    const Vorn::TagFaultText& fault = Vorn::DescribeTagFault(finding.fault);
    const bool isLoss = fault.weight == Vorn::TagWeight::Loss;
    if (isLoss && !hearsLosses_) return;
    ++(isLoss ? losses_ : problems_);

    Vorn::TagPlace place = finding.place;
    if (const auto known = places_.find(finding.tag); known != places_.end()) {
        place = known->second;
    }
    out_ << name_ << ':';
    if (place.line != 0) {
        out_ << place.line << ':' << place.column << ": ";
    } else {
        out_ << " offset " << place.offset << ": ";
    }
    out_ << LabelOf(fault.weight) << fault.text;
    if (!finding.about.empty()) out_ << ": " << finding.about;
    out_ << '\n';
}

void FindingReport::OnTag(const Vorn::OCSChunk& tag, const Vorn::TagPlace& place) {
    if (place.line != 0) places_.emplace(&tag, place);
}

}  // namespace va
