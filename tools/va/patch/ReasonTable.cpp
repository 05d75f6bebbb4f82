#include "tools/va/patch/ReasonTable.h"

#include <algorithm>
#include <array>

namespace va::tool {
namespace {

struct ReasonName {
    std::string_view code;
    std::string_view text;
};

// Indexed by PatchReport::Reason; the last entry is the overhead. The codes are part of the JSON
// format.
constexpr std::array<ReasonName, 5> kNames = {{
    {"new", "new content"},
    {"rewritten", "changed almost wholly (re-encoded?)"},
    {"moved", "moved or copied from another member"},
    {"changed", "changed in part"},
    {"overhead", "lists of names and digests, headers, index"},
}};

}  // namespace

std::string_view CodeOf(PatchReport::Reason reason) {
    return kNames.at(static_cast<std::size_t>(reason)).code;
}

std::vector<ReasonRow> RowsOf(const PatchReport& report) {
    std::vector<ReasonRow> rows;
    for (const ReasonName& name : kNames) {
        rows.push_back({.code = name.code, .text = name.text, .items = {}});
    }
    for (const PatchReport::Total& total : report.totals) {
        ReasonRow& row = rows.at(static_cast<std::size_t>(total.reason));
        row.bytes = total.patchBytes;
        row.members = total.members;
    }
    for (const PatchReport::Item& item : report.items) {
        rows.at(static_cast<std::size_t>(item.reason)).items.push_back(&item);
    }
    rows.back().bytes = report.overhead;
    std::erase_if(rows, [](const ReasonRow& row) { return row.bytes == 0 && row.members == 0; });
    std::ranges::stable_sort(rows, std::greater{}, &ReasonRow::bytes);
    return rows;
}

std::string_view CodeOf(PatchStream::Kind kind) {
    switch (kind) {
        case PatchStream::Kind::Head:
            return "head";
        case PatchStream::Kind::Directory:
            return "directory";
        default:
            return "contents";
    }
}

JsonObject JsonOf(const PatchStream& stream) {
    JsonObject object("stream");
    object.Set("stream", CodeOf(stream.kind)).Set("bytes", stream.bytes);
    if (stream.unpacked) object.Set("unpacked", *stream.unpacked);
    return std::move(object.Set("members", stream.members));
}

}  // namespace va::tool
