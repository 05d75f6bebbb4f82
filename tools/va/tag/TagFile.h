// Reads asset descriptions of either form.
#pragma once

#include <string>

#include "assetdata/OCSChunk.h"
#include "assetdata/TagObserver.h"
#include "tools/va/tag/Input.h"

namespace va::tool {

enum class TagForm { Text, Binary };

struct TagFile {
    TagForm form;
    Vorn::OCSChunkRef root;
};

// Reads the tags in the content of the input `name`. The ending of the name selects the form; with
// an unknown ending the first bytes do. Findings go to `observer`. Throws BadInput (Refused) for
// content without tags, and for an archive, a picture or another known kind, which the message
// names.
[[nodiscard]] TagFile ReadTags(const Bytes& content, const std::string& name,
                               Vorn::TagObserver& observer);
[[nodiscard]] inline TagFile ReadTagFile(const Input& input, Vorn::TagObserver& observer) {
    return ReadTags(input.Read(), input.Name(), observer);
}

// Throws Failure (Usage) unless the ending of `path` selects `form`, because programs would misread
// the file. Standard output, "-", may have any form.
void CheckEnding(const std::string& path, TagForm form);

}  // namespace va::tool
