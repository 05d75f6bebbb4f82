#include "converter/PatchLists.h"

#include <algorithm>
#include <array>

using Vorn::Intern;
using Vorn::InternedString;

namespace {

// Takes the next line off `text`; at the end of the text the line is empty.
[[nodiscard]] std::string_view TakeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

}  // namespace

bool IsListName(const char* name) {
    const InternedString member = Intern(name);
    return std::ranges::any_of(std::array{kAddedList, kDeletedList, kPatchedList},
                               [&](auto list) { return CompareText(member, list) == 0; });
}

std::string FormatList(const MemberMap& members) {
    std::string text;
    for (const auto& [name, digests] : members) {
        text += name.View();
        text += '\n';
        text += digests.View();
        text += '\n';
    }
    return text;
}

void ParseList(std::string_view text, int digestLines, MemberMap& members) {
    while (!text.empty()) {
        const std::string_view name = TakeLine(text);
        bool whole = !name.empty();
        std::string digests;
        for (int line = 0; line < digestLines; ++line) {
            const std::string_view digest = TakeLine(text);
            whole = whole && !digest.empty();
            digests += digest;
            if (digestLines > 1) digests += '\n';
        }
        if (whole) members[Intern(name)] = Intern(digests);
    }
}

InternedString FirstDigest(const InternedString& value) {
    std::string_view text = value.View();
    text.remove_prefix(std::min(text.find_first_not_of('\n'), text.size()));
    return Intern(text.substr(0, text.find('\n')));
}
