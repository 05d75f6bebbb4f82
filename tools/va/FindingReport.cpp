#include "tools/va/FindingReport.h"

#include <ostream>

namespace va {

void FindingReport::OnFinding(const Vorn::TagFinding& finding) {
    Vorn::TagPlace place = finding.place;
    if (const auto known = places_.find(finding.tag); known != places_.end()) {
        place = known->second;
    }
    const Vorn::TagFaultText& fault = Vorn::DescribeTagFault(finding.fault);
    ++(losing_ ? losses_ : problems_);

    out_ << name_ << ':';
    if (place.line != 0) {
        out_ << place.line << ':' << place.column << ": ";
    } else {
        out_ << " offset " << place.offset << ": ";
    }
    out_ << (losing_ ? "loss: " : fault.damage ? "error: " : "warning: ") << fault.text;
    if (!finding.about.empty()) out_ << ": " << finding.about;
    out_ << '\n';
}

void FindingReport::OnTag(const Vorn::OCSChunk& tag, const Vorn::TagPlace& place) {
    if (place.line != 0) places_.emplace(&tag, place);
}

}  // namespace va
