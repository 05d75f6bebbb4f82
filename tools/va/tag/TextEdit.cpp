#include "tools/va/tag/TextEdit.h"

#include <algorithm>
#include <cstddef>

namespace va::tool {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kLineEnds = "\r\n";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::size_t kValueColumn = 40;  // as the writer lays out values

std::size_t SkipBlanks(std::string_view text, std::size_t at) {
    return std::min(text.find_first_not_of(kBlanks, at), text.size());
}

// Returns the offset after the line end at `at`. CR LF and LF CR count as one line end.
std::size_t AfterLineEnd(std::string_view text, std::size_t at) {
    if (at == text.size()) return at;
    const bool isPair = at + 1 < text.size() && text[at + 1] != text[at] &&
                        kLineEnds.find(text[at + 1]) != kLineEnds.npos;
    return at + (isPair ? 2 : 1);
}

bool IsLineEnd(std::string_view text, std::size_t at) {
    return at == text.size() || kLineEnds.find(text[at]) != kLineEnds.npos;
}

std::size_t LineStart(std::string_view text, std::size_t at) {
    const std::size_t end = at == 0 ? text.npos : text.find_last_of(kLineEnds, at - 1);
    if (end != text.npos) return end + 1;
    return text.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0;
}

// Returns the blanks at the start of the line of `at`, not beyond `at`.
std::string_view Indentation(std::string_view text, std::size_t at) {
    const std::size_t start = LineStart(text, at);
    return text.substr(start, std::min(SkipBlanks(text, start), at) - start);
}

std::string Replaced(std::string_view text, std::size_t begin, std::size_t end,
                     std::string_view by) {
    return std::string(text.substr(0, begin)).append(by).append(text.substr(end));
}

}  // namespace

const Vorn::TagExtent* TagPlaces::Find(const Vorn::OCSChunk* tag) const {
    const auto found = std::ranges::find(places_, tag, &PlacedTag::tag);
    return found == places_.end() ? nullptr : &found->extent;
}

std::vector<Vorn::TagExtent> TagPlaces::InOrder() const {
    std::vector<Vorn::TagExtent> extents;
    extents.reserve(places_.size());
    for (const PlacedTag& placed : places_) extents.push_back(placed.extent);
    std::ranges::sort(extents, {}, &Vorn::TagExtent::name);
    return extents;
}

std::string_view LineEndOf(std::string_view text) {
    const std::size_t first = text.find_first_of(kLineEnds);
    if (first == text.npos) return kLineEnds;
    return text.substr(first, AfterLineEnd(text, first) - first);
}

std::vector<std::string> TextsWithValue(std::string_view text, const Vorn::TagExtent& tag,
                                        std::string_view value) {
    const bool hasValue = tag.value > tag.nameEnd;
    if (value.empty()) return {Replaced(text, tag.nameEnd, tag.end, "")};
    // The reader counts trailing blanks as part of a value without quotes; keep them in the text.
    std::size_t end = tag.end;
    while (end > tag.value && kBlanks.find(text[end - 1]) != kBlanks.npos) --end;
    const std::string written = (hasValue ? "" : " ") + std::string(value);
    return {Replaced(text, tag.value, end, written),
            Replaced(text, tag.value, end, written + std::string(LineEndOf(text)))};
}

std::string TextWithTag(std::string_view text, const Vorn::TagExtent* container,
                        const Vorn::TagExtent* last, std::string_view name,
                        std::string_view value) {
    std::size_t at = text.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0;
    std::string line;
    if (last) {
        at = last->end;
        line = Indentation(text, last->name);
    } else if (container) {
        at = container->value + 1;
        const std::string_view outer = Indentation(text, container->name);
        line = std::string(outer) + (outer.find('\t') != outer.npos ? "\t" : "  ");
    }
    line += name;
    if (!value.empty()) {
        line.append(line.size() < kValueColumn ? kValueColumn - line.size() : 1, ' ');
        line += value;
    }
    const std::string_view lineEnd = LineEndOf(text);
    line += lineEnd;
    const bool isStart = !last && !container;
    if (isStart) return Replaced(text, at, at, line);
    const std::size_t rest = SkipBlanks(text, at);
    const bool isLastLine = rest == text.size();
    if (!IsLineEnd(text, rest) || isLastLine) {
        return Replaced(text, at, at, std::string(lineEnd) + line);
    }
    const std::size_t next = AfterLineEnd(text, rest);
    return Replaced(text, next, next, line);
}

std::string TextWithoutTag(std::string_view text, const Vorn::TagExtent& tag) {
    const std::size_t start = LineStart(text, tag.name);
    const std::size_t rest = SkipBlanks(text, tag.end);
    const bool hasOwnLines = SkipBlanks(text, start) == tag.name && IsLineEnd(text, rest);
    if (hasOwnLines) return Replaced(text, start, AfterLineEnd(text, rest), "");
    return Replaced(text, tag.name, tag.end, "");
}

}  // namespace va::tool
