// Argument files of the archive tool: arbitrary bytes give lines that fit the buffer, and the parts
// of any line are pieces of it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Directories.h"
#include "platform/Files.h"
#include "platform/Processes.h"
#include "tools/archive/ArgumentFile.h"
#include "tools/archive/SplitQuoted.h"
#include "tools/archive/ToolCommand.h"

namespace {

using namespace Vorn;

void Require(bool holds) {
    if (!holds) std::abort();
}

// Checks that the parts occur in the text in their order, without quotes, and without delimiters
// unless they were quoted.
void CheckParts(std::string_view text, const std::vector<String>& parts) {
    std::size_t at = 0;
    for (const String& part : parts) {
        Require(part.Length() > 0);
        const std::size_t found = text.find(part.View(), at);
        Require(found != std::string_view::npos);
        Require(part.View().find('"') == std::string_view::npos || text.size() >= 8192);
        at = found + part.Length();
    }
}

void TakeLine(std::string_view line) {
    std::vector<String> parts;
    Require(SplitQuoted(line, "\r\n ", '"', parts) == parts.size());
    CheckParts(line, parts);
    ToolCommand command;
    for (const String& part : parts) {
        if (part.Length() > 1 && part.Text()[0] == '-') command.TakeSwitch(part.View());
    }
    for (const auto& [letter, value] : command.switches) {
        Require(command.HasSwitch(letter) && command.SwitchValue(letter) == value.Text());
    }
    for (const auto& [name, value] : command.settings) {
        Require(name.Length() > 0 && command.SettingValue(name.Text()) == value.Text());
    }
    const ToolCommand copy = command;
    Require(MatchesAny(copy.excludeNames, line) == MatchesAny(command.excludeNames, line));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = platform::TemporaryDirectory() + "arguments-fuzz-" +
                                    std::to_string(platform::CurrentProcessId());
    platform::FileHandle file;
    Require(file.Open(path.c_str(), platform::Access::Write, platform::Creation::CreateOrTruncate,
                      platform::Share::DenyAll));
    Require(file.Write({reinterpret_cast<const std::byte*>(data), size}) == size && file.Close());
    ArgumentFile arguments;
    Require(arguments.Open(path.c_str()));
    while (const char* line = arguments.NextLine()) {
        Require(std::string_view(line).size() <= 1022);
        TakeLine(line);
    }
    // The program's own command line has no maximum length.
    const std::string whole(reinterpret_cast<const char*>(data), size);
    TakeLine(whole.c_str());
    return platform::RemoveFile(path.c_str()) ? 0 : 1;
}
