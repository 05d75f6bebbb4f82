// The state of one command line of a tool: its parts, the settings that they make, and the files
// that they name.
//
// Copies are independent: an argument file runs each of its lines on a copy of the state at the
// place that names the file.
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

// A file that matches a path argument.
struct ToolFileRecord {
    archive::FindEntry entry;
    String directory;  // where it was found; never empty: ".\" means no folder
    String prefix;     // the folder that it goes to; never empty either

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
    // Returns "" for a switch that was not given; SettingValue does the same.
    [[nodiscard]] const char* SwitchValue(char letter) const;
    [[nodiscard]] bool HasSetting(const char* name) const { return settings.contains(name); }
    [[nodiscard]] const char* SettingValue(const char* name) const;
};

// Returns whether `text` matches one of the wildcard lists.
[[nodiscard]] bool MatchesAny(const std::vector<String>& list, std::string_view text);

}  // namespace Vorn
