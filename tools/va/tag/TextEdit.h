// Changes one tag in a text and keeps every other byte.
//
// The functions return the changed text. The caller must read it to check the result, because a
// value without a closing quote may extend past its own bytes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "assetdata/TagObserver.h"

namespace va::tool {

// Stores the place of each tag of a text.
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

// Returns candidates for the text with the tag's value replaced. `value` is written as given, with
// its quotes; empty for a tag without value. The second candidate also ends the line after the
// value, which a number needs where a '}' follows it.
[[nodiscard]] std::vector<std::string> TextsWithValue(std::string_view text,
                                                      const Vorn::TagExtent& tag,
                                                      std::string_view value);

// Returns the text with a tag added on a separate line at the end of a container: after `last`; if
// that is null, at the start of `container`; if that is null too, at the start of the text.
[[nodiscard]] std::string TextWithTag(std::string_view text, const Vorn::TagExtent* container,
                                      const Vorn::TagExtent* last, std::string_view name,
                                      std::string_view value);

// Returns the text without a tag, and without its lines if they hold nothing else.
[[nodiscard]] std::string TextWithoutTag(std::string_view text, const Vorn::TagExtent& tag);

}  // namespace va::tool
