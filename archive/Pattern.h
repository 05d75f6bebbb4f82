// Patterns of member names.
#pragma once

#include <string_view>

namespace archive {

// Returns whether `name` matches `pattern`; both are bytes of code page 1252. '*' and '?' stay
// within a component, a component "**" matches any number of components. A pattern that matches a
// folder of the name matches all below it, unless its last component holds '*' or '?': "a" reaches
// "a/b/c", "a/*" reaches "a/b" only. Letter case is ignored, '\' is '/', and a '/' at the end is
// ignored.
[[nodiscard]] bool MatchesPattern(std::string_view name, std::string_view pattern);

}  // namespace archive
