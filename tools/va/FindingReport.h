// Tells a person what readers and conversions found, one line each:
//
//   config.txt:12:5: warning: the number does not fit; the nearest one is taken: mass
//   config.chump: offset 28: error: the record is longer than what holds it
//   config.chump: offset 40: loss: raw bytes are not written as text: body/data
//
// Lines count from 1, columns in bytes from 1, offsets in bytes from 0.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <unordered_map>

#include "assetdata/TagObserver.h"

namespace va {

class FindingReport final : public Vorn::TagObserver {
public:
    // Writes to `out`, which must outlive the report, about the input `name`.
    FindingReport(std::ostream& out, std::string name) : out_(out), name_(std::move(name)) {}

    void OnFinding(const Vorn::TagFinding& finding) override;
    void OnTag(const Vorn::OCSChunk& tag, const Vorn::TagPlace& place) override;

    // For commands that write no other form.
    void IgnoreLosses() { hearsLosses_ = false; }

    [[nodiscard]] std::size_t Problems() const { return problems_; }  // errors and warnings
    [[nodiscard]] std::size_t Losses() const { return losses_; }
    [[nodiscard]] bool IsClean() const { return problems_ + losses_ == 0; }

private:
    std::ostream& out_;
    const std::string name_;
    bool hearsLosses_ = true;
    std::size_t problems_ = 0;
    std::size_t losses_ = 0;
    // Where the tags of a text stand: findings in a tree know their tag only.
    std::unordered_map<const Vorn::OCSChunk*, Vorn::TagPlace> places_;
};

}  // namespace va
