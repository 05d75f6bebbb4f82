#include "tools/va/patch/ReportPage.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>
#include <vector>

#include "tools/va/ShownText.h"
#include "tools/va/patch/ReasonTable.h"
#include "tools/va/patch/Treemap.h"

namespace va::tool {
namespace {

constexpr Rectangle kMap{0, 0, 1200, 640};
constexpr std::size_t kMostTiles = 2000;  // as many as browsers draw without delay
constexpr std::size_t kMostMembers = 50;  // in the table of members
constexpr double kLetterWidth = 6.6;      // of the 11 px font, rounded up so that labels fit
constexpr double kLeastTextHeight = 15;

constexpr std::string_view kHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
)";

// The colours are dark enough for white labels in both the light and the dark scheme.
constexpr std::string_view kStyle = R"(<style>
:root { color-scheme: light dark; --text: #1c1f23; --back: #ffffff; --line: #d0d5db;
  --new: #1f6fb2; --rewritten: #b3403a; --moved: #7a4fa3; --changed: #2e7d46; --overhead: #6b7280; }
@media (prefers-color-scheme: dark) { :root { --text: #e6e8eb; --back: #14171a; --line: #3a4048; } }
body { font: 15px/1.5 system-ui, sans-serif; color: var(--text); background: var(--back);
  max-width: 1200px; margin: 2em auto; padding: 0 1em; }
svg { width: 100%; height: auto; display: block; }
svg rect { stroke: var(--back); stroke-width: 1; }
svg text { font: 11px system-ui, sans-serif; fill: #ffffff; pointer-events: none; }
.new { fill: var(--new); background: var(--new); } .rewritten { fill: var(--rewritten); background: var(--rewritten); }
.moved { fill: var(--moved); background: var(--moved); } .changed { fill: var(--changed); background: var(--changed); }
.overhead { fill: var(--overhead); background: var(--overhead); }
table { border-collapse: collapse; margin: 1.5em 0; }
th, td { text-align: left; padding: .2em .8em; border-bottom: 1px solid var(--line); }
td.n, th.n { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
td.name { overflow-wrap: anywhere; }
i { display: inline-block; width: .8em; height: .8em; margin-right: .5em; }
@media print { body { margin: 0; max-width: none; } * { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  tr, svg { break-inside: avoid; } }
</style>
)";

// Escapes names for HTML. They come from the patch, which may be hostile; the page's policy, which
// forbids scripts, is the second barrier.
std::string Escaped(std::string_view text) {
    std::string out;
    for (const char c : Shown(text)) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

// Returns `text` cut to `columns` characters of UTF-8, the last of them an ellipsis if it was
// longer.
std::string Shortened(const std::string& text, std::size_t columns) {
    const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
    if (static_cast<std::size_t>(std::ranges::count_if(text, begins)) <= columns) return text;
    std::size_t seen = 0;
    const auto cut =
        std::ranges::find_if(text, [&](char c) { return begins(c) && seen++ + 1 == columns; });
    return std::string(text.begin(), cut) + "\u2026";
}

std::string Number(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f", value);
    return text.data();
}

struct Tile {
    std::string title;
    std::string label;
    double bytes = 0;
};

// Returns the tiles of a reason: one for each of its `most` largest members, and one for the rest.
std::vector<Tile> TilesOf(const ReasonRow& row, std::size_t most) {
    std::vector<Tile> tiles;
    std::uint64_t shown = 0;
    for (const PatchReport::Item* item : row.items) {
        if (tiles.size() == most || item->patchBytes == 0) break;
        shown += item->patchBytes;
        tiles.push_back({item->name + ": " + ShownBytes(item->patchBytes) + " of the patch for " +
                             ShownBytes(item->contentBytes) + ", " + std::string(row.text),
                         item->name.substr(item->name.rfind('/') + 1),
                         static_cast<double>(item->patchBytes)});
    }
    if (const std::uint64_t rest = row.bytes - shown; rest > 0) {
        std::string what(row.text);
        std::string title = what + ": " + ShownBytes(rest);
        if (!row.items.empty()) {
            what = Counted(row.members - tiles.size(), "further member");
            title = what + ": " + ShownBytes(rest) + ", " + std::string(row.text);
        }
        tiles.push_back({std::move(title), std::move(what), static_cast<double>(rest)});
        std::ranges::stable_sort(tiles, std::greater{}, &Tile::bytes);
    }
    return tiles;
}

void AppendTile(std::string& page, const Tile& tile, const Rectangle& place,
                std::string_view code) {
    page += "<g><title>" + Escaped(tile.title) + "</title><rect class=\"" + std::string(code) +
            "\" x=\"" + Number(place.x) + "\" y=\"" + Number(place.y) + "\" width=\"" +
            Number(place.width) + "\" height=\"" + Number(place.height) + "\"/>";
    const auto columns = static_cast<std::size_t>(std::max(0.0, (place.width - 8) / kLetterWidth));
    if (columns >= 4 && place.height >= kLeastTextHeight) {
        page += "<text x=\"" + Number(place.x + 4) + "\" y=\"" + Number(place.y + 12) + "\">" +
                Escaped(Shortened(tile.label, columns)) + "</text>";
    }
    page += "</g>\n";
}

void AppendMap(std::string& page, const std::vector<ReasonRow>& rows) {
    page += "<svg viewBox=\"0 0 " + Number(kMap.width) + " " + Number(kMap.height) +
            "\" role=\"img\" aria-label=\"Bytes of the patch by member\">\n";
    std::vector<double> sizes;
    for (const ReasonRow& row : rows) {
        if (row.bytes > 0) sizes.push_back(static_cast<double>(row.bytes));
    }
    const std::vector<Rectangle> places = Squarify(sizes, kMap);
    for (std::size_t i = 0; i < places.size(); ++i) {
        const std::vector<Tile> tiles = TilesOf(rows[i], kMostTiles / rows.size());
        std::vector<double> bytes;
        for (const Tile& tile : tiles) bytes.push_back(tile.bytes);
        const std::vector<Rectangle> inner = Squarify(bytes, places[i]);
        for (std::size_t j = 0; j < tiles.size(); ++j) {
            AppendTile(page, tiles[j], inner[j], rows[i].code);
        }
    }
    page += "</svg>\n";
}

void AppendReasons(std::string& page, const PatchReport& report,
                   const std::vector<ReasonRow>& rows) {
    page +=
        "<table>\n<tr><th class=\"n\">patch bytes</th><th class=\"n\">share</th><th>reason</th>"
        "<th class=\"n\">members</th></tr>\n";
    for (const ReasonRow& row : rows) {
        page += "<tr><td class=\"n\">" + std::to_string(row.bytes) + "</td><td class=\"n\">" +
                Percent(row.bytes, report.patchBytes) + "</td><td><i class=\"" +
                std::string(row.code) + "\"></i>" + Escaped(row.text) + "</td><td class=\"n\">" +
                (row.members == 0 ? "" : std::to_string(row.members)) + "</td></tr>\n";
    }
    page += "</table>\n";
}

void AppendStreams(std::string& page, const PatchReport& report) {
    if (report.streams.empty()) return;
    page +=
        "<h2>The streams of the patch</h2>\n<table>\n<tr><th class=\"n\">bytes</th>"
        "<th class=\"n\">unpacked</th><th>stream</th></tr>\n";
    for (const PatchStream& stream : report.streams) {
        page += "<tr><td class=\"n\">" + std::to_string(stream.bytes) + "</td><td class=\"n\">" +
                (stream.unpacked ? std::to_string(*stream.unpacked) : "") + "</td><td>" +
                std::string(CodeOf(stream.kind)) + "</td></tr>\n";
    }
    page += "</table>\n";
}

void AppendMembers(std::string& page, const PatchReport& report) {
    if (report.items.empty()) return;
    const std::size_t count = std::min(kMostMembers, report.items.size());
    page +=
        "<h2>The largest members</h2>\n<table>\n<tr><th class=\"n\">patch bytes</th>"
        "<th class=\"n\">content</th><th>member</th></tr>\n";
    for (std::size_t i = 0; i < count; ++i) {
        const PatchReport::Item& item = report.items[i];
        page += "<tr><td class=\"n\">" + std::to_string(item.patchBytes) + "</td><td class=\"n\">" +
                std::to_string(item.contentBytes) + "</td><td class=\"name\"><i class=\"" +
                std::string(CodeOf(item.reason)) + "\"></i>" + Escaped(item.name) + "</td></tr>\n";
    }
    page += "</table>\n";
}

}  // namespace

std::string ReportPage(const PatchReport& report, std::string_view title) {
    const std::vector<ReasonRow> rows = RowsOf(report);
    std::uint64_t members = 0;
    for (const ReasonRow& row : rows) members += row.members;
    std::string page(kHead);
    page += "<title>" + Escaped(title) + "</title>\n" + std::string(kStyle) + "</head>\n<body>\n";
    page +=
        "<h1>" + Escaped(title) + "</h1>\n<p>" + ShownBytes(report.patchBytes) + " for " +
        Counted(members, "member") +
        ". Areas are bytes of the patch, colours are reasons; point at a tile for its name.</p>\n";
    AppendMap(page, rows);
    AppendReasons(page, report, rows);
    AppendStreams(page, report);
    AppendMembers(page, report);
    page += "</body>\n</html>\n";
    return page;
}

}  // namespace va::tool
