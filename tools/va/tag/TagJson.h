// Writes tags in JSON (docs/formats/json.md).
#pragma once

#include <string>
#include <string_view>

#include "assetdata/OCSChunk.h"
#include "tools/va/Answer.h"

namespace va::tool {

// Sets "kind" and the field of the value: "text", "numbers", "kuids" or "bytes", each with the
// prefix `before`.
void SetValue(JsonObject& object, const Vorn::OCSChunk& tag, const std::string& before = {});

// Writes a "tag" object for every tag below `root`, whose own path is `path`.
void WriteTags(Answer& answer, const std::string& input, std::string path,
               const Vorn::OCSChunk& root);

// Writes a "value" object, and for a container also the tags in it.
void WriteTagValue(Answer& answer, const std::string& input, const std::string& path,
                   const Vorn::OCSChunk& tag);

}  // namespace va::tool
