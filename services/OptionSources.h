// Where options come from besides the command line: environment variables and option files.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kernel/InternedString.h"
#include "services/OptionList.h"

namespace Vorn {

// Parses an option file: 8-bit text, or UTF-16 little-endian with a byte order mark, which is
// converted to the ANSI code page. False, and nothing parsed, when it is missing, damaged, cannot
// be read to its end, or holds more than 16 MiB, which no option file does.
bool ParseOptionFile(OptionList& list, const char* path);
// The same with the substitution named apart, as in File::Open: a null name for a path of the file
// system, whose folders may have a ':' in their names.
bool ParseOptionFile(OptionList& list, const InternedString& substName, const char* path);

// Parses every source of option text that exists, later ones overriding earlier ones; at last
// `commandText`, which may be null. A missing variable and what is not an option file are skipped
// without a message.
void LoadOptions(OptionList& list, const char* appName, const char* commandText);

struct OptionSource {
    enum class Kind { Variable, File };
    Kind kind;
    std::string name;  // of the variable, or the path of the file

    bool operator==(const OptionSource&) const = default;
};

// The sources in the order in which they apply. Those named after the program are left out when
// the program's path is unknown: empty, or longer than 256 characters. The files of the current
// directory are left out when it equals the program's by PathsShareStart, is empty, or is too
// long for a path buffer.
[[nodiscard]] std::vector<OptionSource> ListOptionSources(std::string_view appName,
                                                          std::string_view programPath,
                                                          std::string_view currentDirectory);

}  // namespace Vorn
