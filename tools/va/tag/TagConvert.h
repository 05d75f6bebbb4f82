// Writes trees of tags in either form.
#pragma once

#include <string>

#include "tools/va/Table.h"
#include "tools/va/tag/FindingReport.h"
#include "tools/va/tag/TagFile.h"

namespace va::tool {

// Reports what would be lost if the tags were written in that form.
void FindLosses(const TagFile& file, TagForm into, FindingReport& report);

// Reports why the binary form cannot store the tags at all, if so.
void FindUnwritable(const TagFile& file, FindingReport& report);

// Returns the tags in that form; reports to `report` what cannot be written. Throws BadInput if the
// form cannot store the tags of the input `name` at all.
[[nodiscard]] Bytes TagBytes(const TagFile& file, const std::string& name, TagForm into,
                             FindingReport& report);

[[nodiscard]] Command TagToTextCommand();
[[nodiscard]] Command TagToBinaryCommand();

}  // namespace va::tool
