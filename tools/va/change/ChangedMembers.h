// Says what happens to the members of an archive.
#pragma once

#include <functional>

#include "tools/va/Run.h"
#include "vaconverter/writer.h"

namespace va::tool {

// A function that says it for each member, or none if nobody asked: objects with --json; lines with
// -v, and with -n, whose purpose they are.
[[nodiscard]] std::function<void(const Change&)> TellingChanges(Run& run);

}  // namespace va::tool
