// The VArchive program's arguments, as its tool takes them.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Vorn {

using Arguments = std::vector<std::string>;

// One command line, each argument in double quotes, so that blanks and length do not matter.
// Nothing when an argument is empty or holds a double quote or a line end: it would become another
// one.
[[nodiscard]] std::optional<std::string> JoinArguments(const Arguments& arguments);

// The kernel's options among the arguments, as option text: in quotes they do not read as such. It
// says that there is no log file unless they, or the options loaded for `appName`, name one.
[[nodiscard]] std::string OptionText(const Arguments& arguments, const char* appName);

}  // namespace Vorn
