// Asset descriptions as the tag commands take and make them.
#pragma once

#include <string>

#include "assetdata/OCSChunk.h"
#include "assetdata/TStream.h"
#include "assetdata/TagObserver.h"

namespace va::tool {

enum class TagForm { Text, Binary };

struct TagFile {
    TagForm form;
    Vorn::OCSChunkRef root;
};

// Reads the input of that name (Input.h). Its form is the one that its ending stands for, or under
// another ending the binary one if it begins like that. `observer` hears what there is to say.
// Throws Failure, Refused for one that holds no tags and for a whole archive.
[[nodiscard]] TagFile ReadTagFile(const std::string& name, Vorn::TagObserver& observer);

// The form that programs take a file of this name for. Throws Failure (Usage) when that is not
// `form`.
void CheckEnding(const std::string& path, TagForm form);

}  // namespace va::tool
