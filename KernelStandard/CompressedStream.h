// Compressing a whole file in place, and the names of temporary files.
#pragma once

#include <array>
#include <string>

#include "archive/BytePair.h"
#include "archive/Stream.h"
#include "platform/Files.h"

namespace Vorn {

// The engine knows the codec by these names, which are fixed.
using archive::CompressBlock;
using archive::ExpandBlock;

// Turns the plain file `path`, which nothing holds open, into a compressed stream: written to a
// hidden temporary file in the current directory, then put in the plain file's place. False leaves
// the plain file as it was or, when the stream could not get there, the stream in the temporary
// file.
[[nodiscard]] bool CompressFileInPlace(const char* path);

// A name that no other temporary file of this process gets: "%08X.T%08X" from the process
// identifier and a counter that starts at 0. Any thread.
using TemporaryName = std::array<char, 20>;
[[nodiscard]] TemporaryName MakeTemporaryName();

// Creates a file of such a name, which nothing had, in `folder` ("" or ending in a separator), and
// opens it for writing. Its path; empty when that cannot be done.
[[nodiscard]] std::string CreateTemporaryFile(const std::string& folder,
                                              platform::FileHandle& file);

}  // namespace Vorn
