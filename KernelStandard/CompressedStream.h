// Compresses a whole file in place.
#pragma once

namespace Vorn {

// Turns the plain file `path`, which must not be open, into a compressed stream. Writes the stream
// to a hidden temporary file in the current directory, removes the plain file and moves the stream
// to its name. If this returns false, the content is not lost: the plain file is unchanged or, when
// only the move failed, the temporary file holds the stream.
[[nodiscard]] bool CompressFileInPlace(const char* path);

}  // namespace Vorn
