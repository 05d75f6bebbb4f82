// Groups the bytes of a patch by reason, for the table and the page of `va report`.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "tools/va/Json.h"
#include "vaconverter/report.h"

namespace va::tool {

struct ReasonRow {
    std::string_view code;  // the name in JSON, and the CSS class in the page
    std::string_view text;
    std::uint64_t bytes = 0;
    std::uint64_t members = 0;
    std::vector<const PatchReport::Item*> items;  // the largest first; none in a compact patch
};

// Returns the reasons that have members or bytes, the largest first.
[[nodiscard]] std::vector<ReasonRow> RowsOf(const PatchReport& report);

// Returns the code of an item's reason.
[[nodiscard]] std::string_view CodeOf(PatchReport::Reason reason);

// Returns "head", "directory" or "contents".
[[nodiscard]] std::string_view CodeOf(PatchStream::Kind kind);

// Returns the object of a stream, as `info` and `report` answer it.
[[nodiscard]] JsonObject JsonOf(const PatchStream& stream);

}  // namespace va::tool
