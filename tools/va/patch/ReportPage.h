// The page that `va report -o FILE.html` writes.
#pragma once

#include <string>
#include <string_view>

#include "vaconverter/report.h"

namespace va::tool {

// Returns one HTML file without scripts and without outside parts: a treemap whose areas are bytes
// of the patch and whose colours are reasons, and the tables. Readable in light and dark, and in
// print. At most about 2,000 tiles, however many members there are. `title` is the patch's name.
[[nodiscard]] std::string ReportPage(const PatchReport& report, std::string_view title);

}  // namespace va::tool
