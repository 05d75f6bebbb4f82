#include "tools/archive/ToolCommand.h"

#include <algorithm>
#include <string>

#include "kernel/Paths.h"
#include "tools/archive/SplitQuoted.h"

namespace Vorn {

PathBuffer ToolFileRecord::Path() const {
    PathBuffer path(directory.View());
    AppendPathComponent(path, entry.Name());
    return path;
}

void ToolCommand::TakeSwitch(std::string_view token) {
    constexpr std::size_t kSwitchLength = 2;
    const char letter = token[1];
    const std::string rest(token.substr(kSwitchLength));
    if (letter == 's') {
        std::vector<String> parts;
        const std::size_t count = SplitQuoted(rest, "=", '"', parts);
        if (count == 1) settings[parts[0]] = "";
        if (count == 2) settings[parts[0]] = parts[1];
    } else if (letter == 'x') {
        const bool withFolder = std::ranges::any_of(rest, IsSeparator);
        (withFolder ? excludePaths : excludeNames).emplace_back(rest.c_str());
    } else {
        switches[letter] = rest.c_str();
    }
}

const char* ToolCommand::SwitchValue(char letter) const {
    const auto found = switches.find(letter);
    return found == switches.end() ? "" : found->second.Text();
}

const char* ToolCommand::SettingValue(const char* name) const {
    const auto found = settings.find(name);
    return found == settings.end() ? "" : found->second.Text();
}

bool MatchesAny(const std::vector<String>& list, std::string_view text) {
    return std::ranges::any_of(
        list, [text](const String& patterns) { return MatchWildcards(text, patterns.View()); });
}

}  // namespace Vorn
