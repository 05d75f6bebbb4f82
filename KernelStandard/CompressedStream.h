// Compresses a whole file in place, and makes temporary files.
#pragma once

#include <array>
#include <string>

#include "archive/BytePair.h"
#include "archive/Stream.h"
#include "platform/Files.h"

namespace Vorn {

// The engine's names for the codec, which are fixed.
using archive::CompressBlock;
using archive::ExpandBlock;

// Turns the plain file `path`, which must not be open, into a compressed stream. Writes the stream
// to a hidden temporary file in the current directory, removes the plain file and moves the stream
// to its name. If this returns false, the content is not lost: the plain file is unchanged or, when
// only the move failed, the temporary file holds the stream.
[[nodiscard]] bool CompressFileInPlace(const char* path);

// Returns a name that no other temporary file of this process gets: "%08X.T%08X" of the process
// identifier and a counter that starts at 0. Any thread.
using TemporaryName = std::array<char, 20>;
[[nodiscard]] TemporaryName MakeTemporaryName();

// Creates a new file with such a name in `folder` ("" or ending in a separator), and opens it for
// writing. Returns its path, or "" if none can be created.
[[nodiscard]] std::string CreateTemporaryFile(const std::string& folder,
                                              platform::FileHandle& file);

}  // namespace Vorn
