// The text form of tag trees (docs/formats/tag-text.md).
//
// Reading accepts any bytes; no text is refused. Malformed parts are read as the form's rules say
// and reported to the observer. Trees of any depth are read and written without recursion, in time
// linear in the bytes read or written.
#pragma once

#include <cstdint>
#include <string_view>

#include "assetdata/OCSChunk.h"
#include "assetdata/TStream.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

// Reads from the stream's position up to a "}" or the end, and appends the tags to `container`. The
// text is UTF-8 if it starts with a UTF-8 mark or `alreadyUtf8` is set; otherwise it is in the ANSI
// code page.
void ReadTagText(OCSChunk& container, TStream& stream, bool alreadyUtf8,
                 TagObserver* observer = nullptr);

// Writes one tag at a depth of nesting, without a line end after it. Returns false if not all could
// be written; writes nothing if indentation alone would exceed 4 GiB.
[[nodiscard]] bool WriteTagText(const OCSChunk& tag, std::string_view name, TStream& stream,
                                std::uint32_t depth);

// Writes a whole file: the children of `root` at depth 0, after a UTF-8 mark if any text has bytes
// above 127. Returns false as above.
[[nodiscard]] bool WriteTagTextFile(const OCSChunk& root, TStream& stream);

}  // namespace Vorn
