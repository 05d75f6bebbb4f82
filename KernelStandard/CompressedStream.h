// Compressing a whole file in place, and the names of temporary files.
#pragma once

#include <array>
#include <string>

#include "archive/Stream.h"
#include "platform/Files.h"

namespace Vorn {

using archive::BlockBuffer;
using archive::BlockHeader;
using archive::DecodeBlockHeader;
using archive::DecodeStreamHeader;
using archive::EncodeBlock;
using archive::EncodeStreamHeader;
using archive::IsStreamMark;
using archive::kBlockHeaderSize;
using archive::kBlockSize;
using archive::kShortStreamHeaderSize;
using archive::kStreamHeaderSize;
using archive::kStreamVersion;
using archive::StreamHeader;

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
