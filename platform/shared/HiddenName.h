// Hidden names, looked at from the other side.
#pragma once

#include <string_view>

namespace platform::shared {

// Returns the stem of a name that HiddenName (FolderHandle.h) made; empty for every other name.
[[nodiscard]] std::string_view StemOfHidden(std::string_view name);

}  // namespace platform::shared
