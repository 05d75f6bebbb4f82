// Asset descriptions as the tag commands take and make them.
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

// Reads the tags in the content of the input `name`. The form is the one that the name's ending
// stands for, or under another ending the binary one if the content begins like that. `observer`
// hears what there is to say. Throws BadInput (Refused) for content that holds no tags, and for an
// archive, a picture or another kind of file, which it names.
[[nodiscard]] TagFile ReadTags(const Bytes& content, const std::string& name,
                               Vorn::TagObserver& observer);
[[nodiscard]] inline TagFile ReadTagFile(const Input& input, Vorn::TagObserver& observer) {
    return ReadTags(input.Read(), input.Name(), observer);
}

// Throws Failure (Usage) unless programs read a file of this name in `form`. Standard output, "-",
// may have any form.
void CheckEnding(const std::string& path, TagForm form);

}  // namespace va::tool
