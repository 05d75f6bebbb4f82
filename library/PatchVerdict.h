// Which side of a patch a file is, in the words of the public headers.
#pragma once

#include <string>

#include "patch/OldSide.h"
#include "vaconverter/patch.h"

namespace va {

// Returns the verdict about the archive or folder at `path`, with a message for people if it is
// neither side.
[[nodiscard]] Verdict PublicVerdict(const patch::Verdict& found, const std::string& path);

}  // namespace va
