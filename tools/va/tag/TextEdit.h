// Changes one place of a tag text and keeps every other byte.
//
// The functions give the changed text; what it then reads as is for the caller to check, because
// a value that ends with its line, or a missing quote, may reach further than its own bytes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "assetdata/TagObserver.h"

namespace va::tool {

// Keeps where each tag of a text stands.
class TagPlaces final : public Vorn::TagObserver {
public:
    void OnFinding(const Vorn::TagFinding& /*finding*/) override {}
    void OnTagEnd(const Vorn::OCSChunk& tag, const Vorn::TagExtent& extent) override {
        places_.push_back({&tag, extent});
    }
    // Returns null for the root, and for tags of the binary form.
    [[nodiscard]] const Vorn::TagExtent* Find(const Vorn::OCSChunk* tag) const;
    // Returns all places in the order of their names, in which TagWalk enters the tags.
    [[nodiscard]] std::vector<Vorn::TagExtent> InOrder() const;

private:
    struct PlacedTag {
        const Vorn::OCSChunk* tag;
        Vorn::TagExtent extent;
    };
    std::vector<PlacedTag> places_;
};

// Returns the line end that the text uses first; CR LF if it has none.
[[nodiscard]] std::string_view LineEndOf(std::string_view text);

// Returns `value` as it is written in a text, with its quotes; empty for a tag without value. The
// second text also ends the line after the value, which makes it a number where a '}' would follow.
[[nodiscard]] std::vector<std::string> TextsWithValue(std::string_view text,
                                                      const Vorn::TagExtent& tag,
                                                      std::string_view value);

// Adds a tag on a line of its own, at the end of a container: after `last`, or if that is null, at
// the start of `container`, or if that is null, too, at the start of the text.
[[nodiscard]] std::string TextWithTag(std::string_view text, const Vorn::TagExtent* container,
                                      const Vorn::TagExtent* last, std::string_view name,
                                      std::string_view value);

// Removes a tag, with its lines if there is nothing else on them.
[[nodiscard]] std::string TextWithoutTag(std::string_view text, const Vorn::TagExtent& tag);

}  // namespace va::tool
