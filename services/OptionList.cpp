#include "services/OptionList.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string>

#include "kernel/LetterCase.h"

namespace Vorn {
namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
constexpr std::string_view kPrefixes = "/-+";
constexpr std::string_view kNameEnds = " \t\n\v\f\r=-+";
constexpr std::string_view kQuotes = "'\"";

constexpr std::size_t kMaxTextLength = std::numeric_limits<int>::max();
constexpr std::size_t kCapacitySlack = 18;  // the most that a String reserves beyond its length

bool IsOneOf(char c, std::string_view set) { return set.find(c) != std::string_view::npos; }

std::string_view WithoutTrailingSpace(std::string_view text) {
    return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

struct ParsedOption {
    bool appends = false;
    std::string_view name;
    std::string_view value;
};

// Reads options from the front of a text, one per call.
class OptionScanner {
public:
    explicit OptionScanner(std::string_view text) : rest_(text) {}

    // Returns false at the end of the text.
    bool Next(ParsedOption& option) {
        SkipSpace();
        if (rest_.empty()) return false;
        option = {};
        if (IsOneOf(rest_[0], kPrefixes)) option.appends = Take(1)[0] == '+';
        option.name = Take(rest_.find_first_of(kNameEnds));
        const bool spaced = SkipSpace();
        if (rest_.starts_with('=')) {
            Take(1);
            SkipSpace();
            option.value = TakeValue();
        } else if (!spaced && (rest_.starts_with('-') || rest_.starts_with('+'))) {
            option.value = Take(1);
        }
        return true;
    }

private:
    std::string_view Take(std::size_t count) {
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    bool SkipSpace() { return !Take(rest_.find_first_not_of(kWhiteSpace)).empty(); }

    std::string_view TakeValue() {
        if (rest_.empty() || !IsOneOf(rest_[0], kQuotes)) return Take(PlainValueLength());
        Take(1);
        const std::string_view value = Take(rest_.find_first_of(kQuotes));
        Take(1);
        return value;
    }

    // Returns the length up to the first white space that a prefix or the end of the text follows.
    [[nodiscard]] std::size_t PlainValueLength() const {
        std::size_t space = rest_.find_first_of(kWhiteSpace);
        while (space != std::string_view::npos) {
            const std::size_t next = rest_.find_first_not_of(kWhiteSpace, space);
            if (next == std::string_view::npos || IsOneOf(rest_[next], kPrefixes)) return space;
            space = rest_.find_first_of(kWhiteSpace, next);
        }
        return rest_.size();
    }

    std::string_view rest_;
};

void Store(String& string, std::string_view text) {
    string.Assign(text.data(), static_cast<int>(text.size()));
}

// A String grows in small steps; doubling here keeps a million appends linear.
void AppendItem(String& value, std::string_view item) {
    const std::string added = "," + std::string(item);
    const std::size_t needed = value.Length() + added.size() + kCapacitySlack;
    if (needed > value.Capacity() && needed <= kMaxTextLength) {
        value.Reserve(static_cast<std::uint32_t>(2 * needed), true);
    }
    value.Append(added.c_str());
}

void Apply(OptionList& list, const ParsedOption& parsed) {
    if (parsed.name.empty()) return;
    Option& option = list.FindOrAppend(parsed.name);
    option.cursor.reset();
    if (parsed.appends && option.value.Length() > 0) {
        AppendItem(option.value, parsed.value);
    } else {
        Store(option.value, parsed.value);
    }
}

}  // namespace

const Option* OptionList::Find(std::string_view name) const {
    const auto found = index_.find(AsciiLowered(name));
    return found == index_.end() ? nullptr : found->second;
}

Option* OptionList::Find(std::string_view name) {
    const auto found = index_.find(AsciiLowered(name));
    return found == index_.end() ? nullptr : found->second;
}

Option& OptionList::FindOrAppend(std::string_view name) {
    if (Option* found = Find(name)) return *found;
    Option& option = options_.emplace_back();
    option.name = AsciiLowered(name).c_str();
    index_.emplace(option.name.View(), &option);
    return option;
}

void ParseOptions(OptionList& list, std::string_view text) {
    text = text.substr(0, kMaxTextLength);
    OptionScanner scanner(text.substr(0, text.find('\0')));
    for (ParsedOption parsed; scanner.Next(parsed);) Apply(list, parsed);
}

Option* FindOption(OptionList& list, std::string_view name) { return list.Find(name); }

bool GetOptionBool(const OptionList& list, std::string_view name, bool& out, bool fallback) {
    out = fallback;
    const Option* option = list.Find(name);
    if (!option) return false;
    const std::string_view value = option->value.View();
    if (value.starts_with('-') || EqualAsciiNoCase(value, "false") ||
        EqualAsciiNoCase(value, "off")) {
        out = false;
    } else if (value.starts_with('+') || EqualAsciiNoCase(value, "true") ||
               EqualAsciiNoCase(value, "on")) {
        out = true;
    } else {
        out = !fallback;
    }
    return true;
}

bool GetOptionInt(const OptionList& list, std::string_view name, int& out, int fallback) {
    out = fallback;
    const Option* option = list.Find(name);
    if (!option) return false;
    std::string_view digits = option->value.View();
    digits.remove_prefix(std::min(digits.find_first_not_of(kWhiteSpace), digits.size()));
    const bool negative = digits.starts_with('-');
    if (negative || digits.starts_with('+')) digits.remove_prefix(1);

    std::uint32_t magnitude = 0;  // unsigned, so that from_chars reads no second sign
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
    std::int64_t number = magnitude;
    if (result.ec == std::errc::result_out_of_range) {
        number = std::numeric_limits<std::uint32_t>::max();
    }
    out = static_cast<int>(std::clamp<std::int64_t>(negative ? -number : number,
                                                    std::numeric_limits<int>::min(),
                                                    std::numeric_limits<int>::max()));
    return true;
}

bool GetOptionString(const OptionList& list, std::string_view name, String& out,
                     const char* fallback) {
    const Option* option = list.Find(name);
    out = option ? option->value : String(fallback);
    return option != nullptr;
}

void BeginOptionValues(Option& option, const char* separators) {
    option.separators.Assign(separators);
    option.cursor = 0;
}

bool NextOptionValue(OptionList& list, std::string_view name, String& item) {
    Option* option = list.Find(name);
    if (!option || !option->cursor) return false;
    const std::string_view separators = option->separators.View();
    const std::string_view rest = option->value.View().substr(*option->cursor);
    const std::string_view taken = rest.substr(0, rest.find_first_of(separators));
    const std::string_view text = WithoutTrailingSpace(taken);
    if (text.empty()) return false;

    Store(item, text);
    const auto skipped = [&](char c) { return IsOneOf(c, kWhiteSpace) || IsOneOf(c, separators); };
    const auto next = std::find_if_not(rest.begin() + static_cast<std::ptrdiff_t>(taken.size()),
                                       rest.end(), skipped);
    *option->cursor += static_cast<std::size_t>(next - rest.begin());
    return true;
}

}  // namespace Vorn
