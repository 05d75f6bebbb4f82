#include "tools/va/tag/FindingReport.h"

#include <algorithm>
#include <functional>
#include <new>
#include <ostream>

namespace va::tool {
namespace {

constexpr std::size_t kMostShown = 20;  // findings of a kind

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

FindingReport::~FindingReport() {
    try {
        Finish();
    } catch (const std::bad_alloc&) {
        // The command ends for want of memory, and says so.
    }
}

void FindingReport::OnFinding(const Vorn::TagFinding& finding) {
    const Vorn::TagFaultText& fault = Vorn::DescribeTagFault(finding.fault);
    const bool isLoss = fault.weight == Vorn::TagWeight::Loss;
    if (isLoss && !hearsLosses_) return;
    ++(isLoss ? losses_ : problems_);
    if (++found_[static_cast<std::size_t>(finding.fault)] > kMostShown) return;

    const Vorn::TagPlace place = PlaceOf(finding);
    std::string line = ":";
    if (place.line != 0) {
        line += std::to_string(place.line) + ":" + std::to_string(place.column);
    } else {
        line += " offset " + std::to_string(place.offset);
    }
    line.append(": ").append(LabelOf(fault.weight)).append(fault.text);
    if (!finding.about.empty()) line.append(": ").append(finding.about);
    WriteLine(std::move(line));
}

void FindingReport::OnTag(const Vorn::OCSChunk& tag, const Vorn::TagPlace& place) {
    if (!hearsLosses_ || place.line == 0) return;
    places_.push_back({&tag, place});
    placesSorted_ = false;
}

void FindingReport::Finish() {
    for (std::size_t kind = 0; kind < found_.size(); ++kind) {
        const std::size_t found = std::exchange(found_[kind], 0);
        if (found <= kMostShown) continue;
        const auto& fault = Vorn::DescribeTagFault(static_cast<Vorn::TagFault>(kind));
        WriteLine(std::string(": ") + LabelOf(fault.weight) + fault.text + ": and " +
                  GroupedDigits(found - kMostShown) + " more");
    }
}

Vorn::TagPlace FindingReport::PlaceOf(const Vorn::TagFinding& finding) {
    if (!finding.tag) return finding.place;
    if (!placesSorted_) std::ranges::sort(places_, std::less<>(), &PlacedTag::tag);
    placesSorted_ = true;
    const auto known =
        std::ranges::lower_bound(places_, finding.tag, std::less<>(), &PlacedTag::tag);
    return known != places_.end() && known->tag == finding.tag ? known->place : finding.place;
}

void FindingReport::WriteLine(std::string line) {
    line.insert(0, name_).push_back('\n');
    out_.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
}

std::string GroupedDigits(std::size_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3;) digits.insert(at -= 3, 1, ',');
    return digits;
}

}  // namespace va::tool
