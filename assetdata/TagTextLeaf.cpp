#include "assetdata/TagTextLeaf.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "assetdata/KUID.h"
#include "assetdata/NumberText.h"
#include "assetdata/TDBDataTag.h"
#include "assetdata/TagTextRules.h"
#include "assetdata/TagValues.h"
#include "kernel/LetterCase.h"
#include "platform/CodePage.h"

namespace Vorn {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kBlanks = " \t";

// Spares an allocation: the tag stores values of up to 8 bytes inside itself.
OCSChunkRef MakeSmallLeaf(std::uint32_t type, std::span<const std::byte> value) {
    return OCSChunkRef(new TDBDataTag(type, value));
}

OCSChunkRef MakeLeaf(std::uint32_t type, OCSRawData value) {
    return OCSChunkRef(new TDBDataTag(type, std::move(value)));
}

bool IsNumberOrList(std::string_view value) {
    return value.find_first_of(kDigits) != value.npos &&
           (IsNumberValue(value) || IsListValue(value));
}

// Replaces the two characters for a line end in a value without quotes.
void ReplaceEscapes(std::string& text) {
    for (std::size_t at = 0; (at = text.find("\\n", at)) != std::string::npos; at += 2) {
        text[at] = '\r';
        text[at + 1] = '\n';
    }
}

template <typename Number>
void Judge(const TagTextEntry& entry, const NumberRead<Number>& read, std::string_view token,
           const TagPlace& place) {
    if (!read.found) return entry.Report(TagFault::NoNumber, place);
    if (read.outOfRange) entry.Report(TagFault::NumberOutOfRange, place);
    if (token.find_first_not_of(kBlanks, read.length) != token.npos) {
        entry.Report(TagFault::NumberCut, place);
    }
}

void JudgeFloat(const TagTextEntry& entry, const NumberRead<float>& read, std::string_view token,
                const TagPlace& place) {
    if (!entry.observer) return;  // printing the float again would cost more than reading it
    Judge(entry, read, token, place);
    if (!read.outOfRange && !HoldsDigits(read.value, token.substr(0, read.length))) {
        entry.Report(TagFault::NumberRounded, place);
    }
}

OCSChunkRef MakeNumberLeaf(const TagTextEntry& entry, std::string_view text) {
    const std::string_view token = text.substr(0, text.find_first_of(kBlanks));
    if (token.find('.') == token.npos) {
        const NumberRead<std::int32_t> read = ReadInteger(token);
        Judge(entry, read, token, entry.valuePlace);
        return MakeSmallLeaf(kTagInteger, BytesOf(read.value));
    }
    const NumberRead<float> read = ReadFloat(token);
    JudgeFloat(entry, read, token, entry.valuePlace);
    return MakeSmallLeaf(kTagFloat, BytesOf(read.value));
}

OCSChunkRef MakeListLeaf(const TagTextEntry& entry, std::string_view text) {
    const std::string_view list = text.substr(0, kMostListBytes);
    std::vector<float> values;
    for (std::size_t at = 0; (at = list.find_first_not_of(" ,", at)) != list.npos;) {
        const std::size_t end = std::min(list.find_first_of(" ,", at), list.size());
        const std::string_view piece = list.substr(at, end - at);
        // A tab separates nothing: a piece of tabs alone is skipped, and one number is read from a
        // piece with a tab inside.
        const std::size_t begin = piece.find_first_not_of('\t');
        if (begin != piece.npos) {
            const NumberRead<float> read = ReadFloat(piece);
            JudgeFloat(entry, read, piece, entry.valuePlace.After(at + begin));
            values.push_back(read.value);
        }
        at = end;
    }
    if (entry.observer && LooksLikeThousands(list)) {
        entry.Report(TagFault::LooksLikeThousands, entry.valuePlace);
    }
    if (values.empty()) {
        entry.Report(TagFault::NoNumber, entry.valuePlace);
        values.push_back(0);
    }
    if (text.find_first_of(kDigits, kMostListBytes) != text.npos) {
        entry.Report(TagFault::ListCut, entry.valuePlace);
    }
    return MakeLeaf(kTagFloat, MakeFloats(values));
}

OCSChunkRef MakeKUIDLeaf(const TagTextEntry& entry, const std::string& text) {
    const KUID kuid = KUID::Parse(text, false);
    std::string_view written = text;
    while (!written.empty() && IsTagBlank(written.back())) written.remove_suffix(1);
    if (!EqualAsciiNoCase(written, kuid.TagText())) {
        entry.Report(kuid.IsNull() ? TagFault::BadKUID : TagFault::KUIDNotExact, entry.place);
    }
    const KUID::Pair pair = kuid.ToPair();
    if (KUID::FromPair(pair) != kuid) entry.Report(TagFault::KUIDWraps, entry.place);
    return MakeSmallLeaf(kTagKUID, pair);
}

}  // namespace

void TagTextEntry::Report(TagFault fault, const TagPlace& where) const {
    if (observer) observer->OnFinding({fault, where, Printable(name->View())});
}

OCSChunkRef MakeBareLeaf(const TagTextEntry& entry, std::string& text, bool endsLine, bool isUtf8) {
    if (endsLine && IsNumberValue(text)) return MakeNumberLeaf(entry, text);
    if (endsLine && IsListValue(text)) return MakeListLeaf(entry, text);
    if (entry.observer && !endsLine && IsNumberOrList(text)) {
        entry.Report(TagFault::NumberIsText, entry.valuePlace);
    }
    ReplaceEscapes(text);  // a quoted text has none: it contains its line ends
    return MakeTextLeaf(entry, text, isUtf8);
}

OCSChunkRef MakeTextLeaf(const TagTextEntry& entry, std::string& text, bool isUtf8) {
    if (IsKUIDValue(text)) return MakeKUIDLeaf(entry, text);
    if (!isUtf8 && !IsAscii(text)) text = platform::AnsiToUtf8(text);
    return MakeLeaf(kTagText, MakeText(text));
}

}  // namespace Vorn
