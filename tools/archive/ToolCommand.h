// The state of one command line of a tool: its parts, what they ask for, and the files they name.
//
// Copies are independent: an argument file runs each of its lines on a copy of the state in which
// it was named.
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <string_view>
#include <vector>

#include "archive/ArchiveFormat.h"
#include "kernel/PathBuffer.h"
#include "kernel/String.h"

namespace Vorn {

// A file that a path argument found.
struct ToolFileRecord {
    archive::FindEntry entry;
    String directory;  // where it was found; never empty: ".\" stands for no folder
    String prefix;     // the folder it goes to; the same

    // Returns the path under which it was found.
    [[nodiscard]] PathBuffer Path() const;
};

struct ToolCommand {
    struct ByteOrder {
        bool operator()(const String& a, const String& b) const { return a.Compare(b) == 0; }
    };

    std::vector<String> tokens;
    String command;  // null until taken, as the target
    String target;
    std::vector<String> paths;
    std::list<ToolFileRecord> files;
    std::map<char, String> switches;
    std::map<String, String, ByteOrder> settings;
    std::vector<String> excludeNames;  // patterns without a separator
    std::vector<String> excludePaths;  // patterns with one
    bool recursive = false;
    bool verbose = false;
    bool keepPaths = false;
    bool expectCommand = false;  // still to be taken from the line, as the target
    bool expectTarget = false;
    bool searchTarget = false;  // the paths name members of the target, not files on disk

    // Takes the switches, exclusions and settings of one token, which begins with '-'.
    void TakeSwitch(std::string_view token);

    [[nodiscard]] bool HasSwitch(char letter) const { return switches.contains(letter); }
    // "" for a switch that was not given; the same for settings.
    [[nodiscard]] const char* SwitchValue(char letter) const;
    [[nodiscard]] bool HasSetting(const char* name) const { return settings.contains(name); }
    [[nodiscard]] const char* SettingValue(const char* name) const;
};

// Whether `text` matches one of the wildcard lists.
[[nodiscard]] bool MatchesAny(const std::vector<String>& list, std::string_view text);

}  // namespace Vorn
