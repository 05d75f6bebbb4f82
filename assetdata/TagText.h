// The text form of tag trees (docs/formats/tag-text.md).
//
// Reading takes any bytes; there is no text that is refused. What a text holds beyond the form is
// read as the form's rules say, and told to the observer. Trees of any depth are read and written
// without recursion, in time linear in the bytes read or written.
#pragma once

#include <cstdint>
#include <string_view>

#include "assetdata/OCSChunk.h"
#include "assetdata/TStream.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

// Appends what the stream holds from its position on to `container`, up to a "}" or the end. A
// UTF-8 mark at the start makes the text UTF-8, `alreadyUtf8` does so without one; other texts are
// in the ANSI code page.
void ReadTagText(OCSChunk& container, TStream& stream, bool alreadyUtf8,
                 TagObserver* observer = nullptr);

// Writes one tag at a depth of nesting, without a line end behind it. False when not all could be
// written; nothing is written when indentation alone would pass 4 GiB.
[[nodiscard]] bool WriteTagText(const OCSChunk& tag, std::string_view name, TStream& stream,
                                std::uint32_t depth);

// Writes a whole file: the children of `root` at depth 0, behind a UTF-8 mark when a text among
// them has bytes above 127. False as above.
[[nodiscard]] bool WriteTagTextFile(const OCSChunk& root, TStream& stream);

}  // namespace Vorn
