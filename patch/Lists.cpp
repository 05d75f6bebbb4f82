#include "patch/Lists.h"

#include <algorithm>
#include <array>

#include "archive/Names.h"

namespace patch {

namespace {

// Takes the next line off `text`. After the last one a line is empty, so that lines missing at the
// end count as empty ones.
[[nodiscard]] std::string_view TakeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

}  // namespace

bool IsListName(std::string_view name) {
    return std::ranges::any_of(std::array{kAddedList, kDeletedList, kPatchedList},
                               [name](auto list) { return archive::SameName(name, list); });
}

std::string FormatList(const List& list) {
    std::string text;
    for (const auto& [name, digests] : list) {
        text += name;
        text += '\n';
        text += digests;
        text += '\n';
    }
    return text;
}

List ParseList(std::string_view text, int digestLines) {
    List list;
    while (!text.empty()) {
        const std::string_view name = TakeLine(text);
        bool whole = !name.empty();
        std::string digests;
        for (int line = 0; line < digestLines; ++line) {
            const std::string_view digest = TakeLine(text);
            whole = whole && !digest.empty();
            if (line > 0) digests += '\n';
            digests += digest;
        }
        // A record that is dropped has its lines consumed: the next one begins after them.
        if (whole) list.insert_or_assign(std::string(name), std::move(digests));
    }
    return list;
}

std::string_view OldDigest(std::string_view digests) {
    return digests.substr(0, digests.find('\n'));
}

}  // namespace patch
