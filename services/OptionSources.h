// The sources of options besides the command line: environment variables and option files.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kernel/InternedString.h"
#include "services/OptionList.h"

namespace Vorn {

// Parses an option file: 8-bit text, or UTF-16 little-endian with a byte order mark, which is
// converted to the ANSI code page. Returns false and parses nothing if the file is missing,
// damaged, cannot be read to its end, or holds more than 16 MiB, which bounds the memory that a
// wrong file can take.
bool ParseOptionFile(OptionList& list, const char* path);
// Parses a file whose mount is named apart, as in File::Open: null for a path of the file system,
// whose folder names may contain ':'.
bool ParseOptionFile(OptionList& list, const InternedString& substName, const char* path);

// Parses every source of option text that exists, and at last `commandText`, which may be null.
// Later sources override earlier ones. A missing variable, and a file that cannot be parsed, are
// silently skipped.
void LoadOptions(OptionList& list, const char* appName, const char* commandText);

struct OptionSource {
    enum class Kind { Variable, File };
    Kind kind;
    std::string name;  // the variable's name or the file's path

    bool operator==(const OptionSource&) const = default;
};

// Returns the sources in the order in which they apply. Those named after the program are omitted
// if its path is unknown: empty, or longer than 256 characters. The files of the current directory
// are omitted if it equals the program's directory by PathsShareStart, is empty, or does not fit a
// path buffer.
[[nodiscard]] std::vector<OptionSource> ListOptionSources(std::string_view appName,
                                                          std::string_view programPath,
                                                          std::string_view currentDirectory);

}  // namespace Vorn
