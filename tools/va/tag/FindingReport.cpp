#include "tools/va/tag/FindingReport.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

#include "tools/va/ShownText.h"

namespace va::tool {
namespace {

constexpr std::size_t kMostShown = 20;  // findings of a kind

const char* WordOf(Vorn::TagWeight weight) {
    switch (weight) {
        case Vorn::TagWeight::Damage:
            return "error";
        case Vorn::TagWeight::Loss:
            return "loss";
        case Vorn::TagWeight::Note:
            return "note";
        default:
            return "warning";
    }
}

}  // namespace

std::span<const std::string_view> FindingKinds() {
    static const auto kinds = [] {
        std::array<std::string_view, Vorn::kTagFaultCount> names;
        for (std::size_t kind = 0; kind < names.size(); ++kind) {
            names[kind] = Vorn::DescribeTagFault(static_cast<Vorn::TagFault>(kind)).kind;
        }
        return names;
    }();
    return kinds;
}

void Ignore(Heard& heard, const std::vector<std::string>& kinds) {
    const std::span<const std::string_view> known = FindingKinds();
    for (const std::string& kind : kinds) {
        const auto found = std::ranges::find(known, kind);
        if (found != known.end()) {
            heard.ignored.set(static_cast<std::size_t>(found - known.begin()));
        }
    }
}

FindingReport::FindingReport(Run& run, const std::string& name, To to, Heard heard)
    : run_(run), name_(name), to_(to), heard_(heard) {}

FindingReport::~FindingReport() {
    try {
        Finish();
    } catch (const std::bad_alloc&) {
        // Ignored: the command itself fails for lack of memory and reports it.
    } catch (const Failure&) {
        // Ignored: standard output cannot be written; the end of the answer fails too and reports
        // it.
    }
}

bool FindingReport::Hears(Vorn::TagFault fault) const {
    if (heard_.ignored.test(static_cast<std::size_t>(fault))) return false;
    const Vorn::TagWeight weight = Vorn::DescribeTagFault(fault).weight;
    if (weight == Vorn::TagWeight::Loss) return heard_.losses;
    return weight != Vorn::TagWeight::Note || heard_.notes;
}

void FindingReport::OnFinding(const Vorn::TagFinding& finding) {
    if (!Hears(finding.fault)) return;
    const Vorn::TagWeight weight = Vorn::DescribeTagFault(finding.fault).weight;
    const bool isNote = weight == Vorn::TagWeight::Note;
    ++(isNote ? notes_ : weight == Vorn::TagWeight::Loss ? losses_ : problems_);
    // JSON is for programs, so the limit of 20 applies to lines only.
    const bool isObject = to_ == To::Answer && run_.answer.IsJson();
    if (isObject) return WriteObject(finding, PlaceOf(finding));
    if (++found_[static_cast<std::size_t>(finding.fault)] > kMostShown) return;

    const Vorn::TagPlace place = PlaceOf(finding);
    const std::string where = place.line != 0
                                  ? std::to_string(place.line) + ":" + std::to_string(place.column)
                                  : " offset " + std::to_string(place.offset);
    WriteLine(finding.fault, ":" + where, finding.about);
}

void FindingReport::OnTag(const Vorn::OCSChunk& tag, const Vorn::TagPlace& place) {
    // Only losses and notes are found in a tree and need places. Binary tags have no line; their
    // findings carry an offset.
    if (!(heard_.losses || heard_.notes) || place.line == 0) return;
    places_.push_back({&tag, place});
    placesSorted_ = false;
}

void FindingReport::Finish() {
    for (std::size_t kind = 0; kind < found_.size(); ++kind) {
        const std::size_t found = std::exchange(found_[kind], 0);
        if (found <= kMostShown) continue;
        WriteLine(static_cast<Vorn::TagFault>(kind), "",
                  "and " + GroupedDigits(found - kMostShown) + " more");
    }
}

ExitCode FindingReport::Code() const {
    return problems_ + losses_ + notes_ == 0 ? ExitCode::Done : ExitCode::LookAt;
}

Vorn::TagPlace FindingReport::PlaceOf(const Vorn::TagFinding& finding) {
    if (!finding.tag) return finding.place;
    if (!placesSorted_) std::ranges::sort(places_, std::less<>(), &PlacedTag::tag);
    placesSorted_ = true;
    const auto known =
        std::ranges::lower_bound(places_, finding.tag, std::less<>(), &PlacedTag::tag);
    return known != places_.end() && known->tag == finding.tag ? known->place : finding.place;
}

void FindingReport::WriteObject(const Vorn::TagFinding& finding, const Vorn::TagPlace& place) {
    const Vorn::TagFaultText& fault = Vorn::DescribeTagFault(finding.fault);
    JsonObject object("finding");
    object.Set("input", name_).Set("kind", fault.kind).Set("weight", WordOf(fault.weight));
    object.Set("what", fault.text).Set("about", finding.about).Set("offset", place.offset);
    if (place.line != 0) {
        object.Set("line", std::uint64_t{place.line}).Set("column", std::uint64_t{place.column});
    }
    run_.answer.Write(object);
}

void FindingReport::WriteLine(Vorn::TagFault kind, const std::string& place,
                              const std::string& about) {
    const Vorn::TagFaultText& fault = Vorn::DescribeTagFault(kind);
    std::string line = Shown(name_) + place + ": " + WordOf(fault.weight) + ": " + fault.text;
    if (!about.empty()) line.append(": ").append(Shown(about));
    line.append(" [").append(fault.kind).append("]\n");
    if (to_ == To::Answer) {
        run_.answer.Write(line);
    } else {
        run_.talk.Finding(line);
    }
}

}  // namespace va::tool
