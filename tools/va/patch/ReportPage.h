// The page that `va report -o FILE.html` writes.
#pragma once

#include <string>
#include <string_view>

#include "vaconverter/report.h"

namespace va::tool {

// Returns a self-contained HTML page without scripts: a treemap whose areas are bytes of the patch
// and whose colours are reasons, and the tables. Works in light and dark schemes, and in print. Has
// at most about 2,000 tiles, however many members there are. `title` is the patch's name.
[[nodiscard]] std::string ReportPage(const PatchReport& report, std::string_view title);

}  // namespace va::tool
