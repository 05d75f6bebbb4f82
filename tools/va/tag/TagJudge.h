// Findings about one tag of a description, for commands that use nothing else of it.
#pragma once

#include <cstdint>
#include <vector>

#include "assetdata/TagObserver.h"

namespace va::tool {

// Keeps what a reader finds, until it is known which tags are of interest.
class HeldFindings final : public Vorn::TagObserver {
public:
    void OnFinding(const Vorn::TagFinding& finding) override;
    void OnTagEnd(const Vorn::OCSChunk& tag, const Vorn::TagExtent& extent) override;

    // Passes on what was found about this tag and the tags in it.
    void Report(const Vorn::OCSChunk& tag, Vorn::TagObserver& observer) const;
    // Passes on everything.
    void ReportAll(Vorn::TagObserver& observer) const;

private:
    struct Held {
        Vorn::TagFinding finding;
        std::uint64_t offset;  // of what it is about
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
