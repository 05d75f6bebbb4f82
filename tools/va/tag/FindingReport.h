// Reports to a person what readers and conversions found, one line each:
//
//   config.txt:12:5: warning: the number does not fit; the nearest one is taken: mass
//   config.chump: offset 28: error: the record extends past its container
//   config.chump: offset 40: loss: raw bytes are not written as text: body/data
//   config.txt: warning: the number does not fit; the nearest one is taken: and 4,980 more
//
// Lines count from 1, columns in bytes from 1, offsets in bytes from 0. The first 20 findings of a
// kind are shown, the others counted at the end.
//
// Each line is one write, so that the lines of runs that share a terminal or a log stay whole.
#pragma once

#include <array>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "assetdata/TagObserver.h"

namespace va::tool {

class FindingReport final : public Vorn::TagObserver {
public:
    // Writes to `out`, which must outlive the report, about the input `name`.
    FindingReport(std::ostream& out, std::string name) : out_(out), name_(std::move(name)) {}
    // Finishes.
    ~FindingReport() override;
    FindingReport(const FindingReport&) = delete;
    FindingReport& operator=(const FindingReport&) = delete;

    void OnFinding(const Vorn::TagFinding& finding) override;
    void OnTag(const Vorn::OCSChunk& tag, const Vorn::TagPlace& place) override;

    // For commands that write no other form.
    void IgnoreLosses() { hearsLosses_ = false; }

    // Writes how many findings of each kind were not shown. Nothing is reported after that.
    void Finish();

    [[nodiscard]] std::size_t Problems() const { return problems_; }  // errors and warnings
    [[nodiscard]] std::size_t Losses() const { return losses_; }
    [[nodiscard]] bool IsClean() const { return problems_ + losses_ == 0; }

private:
    struct PlacedTag {
        const Vorn::OCSChunk* tag;
        Vorn::TagPlace place;
    };

    [[nodiscard]] Vorn::TagPlace PlaceOf(const Vorn::TagFinding& finding);
    void WriteLine(std::string line);

    std::ostream& out_;
    const std::string name_;
    bool hearsLosses_ = true;
    std::size_t problems_ = 0;
    std::size_t losses_ = 0;
    std::array<std::size_t, Vorn::kTagFaultCount> found_{};  // by kind
    // The tags of a text: findings in a tree know their tag only. Most texts have no such finding,
    // so the list is sorted when the first one comes.
    std::vector<PlacedTag> places_;
    bool placesSorted_ = false;
};

// "4,980".
[[nodiscard]] std::string GroupedDigits(std::size_t number);

}  // namespace va::tool
