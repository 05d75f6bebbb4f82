// Says what happens to the members of an archive.
#pragma once

#include <functional>

#include "tools/va/Run.h"
#include "vaconverter/writer.h"

namespace va::tool {

// A function that says it for each member, or none if nobody asked: objects with --json; lines with
// -v, and with -n, whose purpose they are.
[[nodiscard]] std::function<void(const Change&)> ChangeReporter(Run& run);

// Ends the answer with what a change did, and says it in a line.
void ReportResult(Run& run, const std::string& archive, const ChangeResult& result);

}  // namespace va::tool
