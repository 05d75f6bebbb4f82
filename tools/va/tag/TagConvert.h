// Writing trees of tags in either form.
#pragma once

#include <string>

#include "tools/va/Table.h"
#include "tools/va/tag/FindingReport.h"
#include "tools/va/tag/TagFile.h"

namespace va::tool {

// Reports what that form cannot hold of the tags.
void FindLosses(const TagFile& file, TagForm into, FindingReport& report);

// Reports why the binary form cannot hold the tags at all, if it cannot.
void FindUnwritable(const TagFile& file, FindingReport& report);

// Returns the tags in that form; `report` hears what cannot be written. Throws BadInput when the
// form cannot hold the tags of the input `name` at all.
[[nodiscard]] Bytes TagBytes(const TagFile& file, const std::string& name, TagForm into,
                             FindingReport& report);

[[nodiscard]] Command TagToTextCommand();
[[nodiscard]] Command TagToBinaryCommand();

}  // namespace va::tool
