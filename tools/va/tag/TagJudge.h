// Selects the findings about single tags, for commands that use only these tags of a description.
#pragma once

#include <cstdint>
#include <vector>

#include "assetdata/TagObserver.h"

namespace va::tool {

// Stores the findings of a reader until the tags of interest are known.
class HeldFindings final : public Vorn::TagObserver {
public:
    void OnFinding(const Vorn::TagFinding& finding) override;
    void OnTagEnd(const Vorn::OCSChunk& tag, const Vorn::TagExtent& extent) override;

    // Passes on the findings about this tag and the tags in it.
    void Report(const Vorn::OCSChunk& tag, Vorn::TagObserver& observer) const;
    // Passes on all findings.
    void ReportAll(Vorn::TagObserver& observer) const;

private:
    struct Held {
        Vorn::TagFinding finding;
        std::uint64_t offset;  // of the tag or text that it is about
    };
    struct PlacedTag {
        const Vorn::OCSChunk* tag;
        std::uint64_t begin;
        std::uint64_t end;
    };

    std::vector<Held> held_;
    std::vector<Vorn::TagFinding> whole_;  // about the text as a whole
    // The tags of a text that have findings in them: most have none.
    std::vector<PlacedTag> tags_;
    PlacedTag last_{};  // the tag that ended last
};

}  // namespace va::tool
