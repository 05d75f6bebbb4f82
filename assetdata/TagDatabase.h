// Loads tag databases by the extension of their file.
#pragma once

#include "assetdata/OCSChunk.h"
#include "assetdata/TagObserver.h"
#include "kernel/InternedString.h"

namespace Vorn {

// Loads "txt" as text into `container`, which is cleared first (made when null), and "chump",
// "cdp" and "cdp2" as chunk files, whose root replaces `container`: null when it has none. The
// path goes through the named substitution, where compressed files read as their content; without
// a name the path may begin with the name of a mount, else it is one of the file system, and the
// file is read as it is stored. False, and `container` as it was,
// when the file cannot be opened or read to its end, is damaged as a compressed stream, or has
// another extension. Throws FileEx for a file of 4 GiB or more.
[[nodiscard]] bool LoadTagDatabase(OCSChunkRef& container, const InternedString& substName,
                                   const char* path, TagObserver* observer = nullptr);

}  // namespace Vorn
