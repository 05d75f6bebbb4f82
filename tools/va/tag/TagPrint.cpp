#include "tools/va/tag/TagPrint.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <string_view>

#include "assetdata/TagValues.h"
#include "assetdata/TagWalk.h"
#include "tools/va/ShownText.h"
#include "vaconverter/sums.h"

namespace va::tool {
namespace {

using Value = std::span<const std::byte>;

constexpr std::size_t kMostIndented = 40;
constexpr std::size_t kValueColumn = 40;
constexpr std::size_t kMostRawShown = 64;
constexpr std::string_view kHexDigits = "0123456789abcdef";

void AppendHex(std::string& text, unsigned byte) {
    text += kHexDigits[byte >> 4];
    text += kHexDigits[byte & 0xF];
}

std::string Escaped(std::string_view text) {
    std::string shown;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') shown += '\\';
        if (c == '\r') {
            shown += "\\r";
        } else if (c == '\n') {
            shown += "\\n";
        } else if (byte < 0x20 || byte == 0x7F) {
            AppendHex(shown += "\\x", byte);
        } else {
            shown += c;
        }
    }
    return shown;
}

std::string FloatText(float number) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), number).ptr;
    std::string text(digits.begin(), end);
    // Marks a float as such; "inf", "nan" and exponents contain 'n' or 'e'.
    if (text.find_first_of(".en") == std::string::npos) text += ".0";
    return text;
}

template <typename Print>
std::string Joined(std::size_t count, Print print) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text.append(i > 0 ? "," : "").append(print(i));
    return text;
}

// Returns the numbers or identifiers of a tag; empty for other types.
std::string NumbersText(const Vorn::OCSChunk& tag) {
    const Value value = tag.DataBytes();
    switch (tag.GetType()) {
        case Vorn::kTagInteger:
            return Joined(Vorn::NumberCount(value),
                          [&](std::size_t i) { return std::to_string(Vorn::IntegerAt(value, i)); });
        case Vorn::kTagFloat:
            return Joined(Vorn::NumberCount(value),
                          [&](std::size_t i) { return FloatText(Vorn::FloatAt(value, i)); });
        case Vorn::kTagKUID:
            return Joined(Vorn::KUIDCount(value),
                          [&](std::size_t i) { return Vorn::KUIDAt(value, i).TagText(); });
        default:
            return {};
    }
}

}  // namespace

std::string ShownValue(const Vorn::OCSChunk& tag) {
    const Value value = tag.DataBytes();
    if (tag.GetType() == Vorn::kTagText) return '"' + Escaped(Vorn::TextOf(value)) + '"';
    if (tag.GetType() != Vorn::kTagRaw) return NumbersText(tag);
    std::string text = "raw " + HexOf(value.first(std::min(value.size(), kMostRawShown)));
    if (value.size() <= kMostRawShown) return text;
    return text + "... (" + Counted(value.size(), "byte") + ")";
}

void PrintTree(Answer& answer, const Vorn::OCSChunk& root) {
    for (Vorn::TagWalk walk(root); walk.Next();) {
        std::string line(2 * std::min(walk.Depth(), kMostIndented), ' ');
        if (walk.IsLeaving()) {
            line += '}';
        } else {
            line += walk.Name().data() == nullptr ? "(no name)" : Escaped(walk.Name());
            if (walk.Tag().GetType() == Vorn::kTagContainer) {
                line += " {";
            } else if (const std::string value = ShownValue(walk.Tag()); !value.empty()) {
                line.append(std::max(line.size() + 1, kValueColumn) - line.size(), ' ') += value;
            }
        }
        answer.Write(line += '\n');
    }
}

std::string ValueText(const Vorn::OCSChunk& tag) {
    const Value value = tag.DataBytes();
    if (tag.GetType() == Vorn::kTagText) return std::string(Vorn::TextOf(value));
    return tag.GetType() == Vorn::kTagRaw ? HexOf(value) : NumbersText(tag);
}

void PrintValue(Answer& answer, const Vorn::OCSChunk& tag) {
    if (tag.GetType() == Vorn::kTagContainer) return PrintTree(answer, tag);
    if (tag.GetType() != Vorn::kTagNone) answer.Write(ValueText(tag) + "\n");
}

}  // namespace va::tool
