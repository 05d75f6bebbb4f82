#include "patch/ManifestCheck.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "archive/Names.h"
#include "platform/CodePage.h"

namespace patch {
namespace {

using Names = std::vector<std::string_view>;

// Sorts names, and refuses two that an archive treats as one.
void SortUnique(const ManifestLines& lines, Names& names) {
    const auto before = [](std::string_view a, std::string_view b) {
        return archive::CompareNames(a, b) < 0;
    };
    std::ranges::sort(names, before);
    const auto twice = std::ranges::adjacent_find(names, archive::SameName);
    if (twice != names.end()) {
        lines.Fail("the member '" + platform::AnsiToUtf8(*twice) + "' is listed twice");
    }
}

}  // namespace

void CheckLists(const ManifestLines& lines, const Manifest& manifest) {
    Names fresh(manifest.empty.begin(), manifest.empty.end());
    for (const auto& entry : manifest.added) fresh.push_back(entry.name);
    for (const auto& entry : manifest.moved) fresh.push_back(entry.name);
    SortUnique(lines, fresh);
    for (const auto& entry : manifest.removed) {
        const auto same = std::ranges::lower_bound(
            fresh, std::string_view(entry.name),
            [](std::string_view a, std::string_view b) { return archive::CompareNames(a, b) < 0; });
        if (same != fresh.end() && *same == entry.name) {
            lines.Fail("the member '" + platform::AnsiToUtf8(*same) + "' is removed and added");
        }
    }
    const std::size_t appeared = fresh.size();
    Names old;
    for (const auto& entry : manifest.changed) {
        fresh.push_back(entry.name);
        old.push_back(entry.name);
    }
    for (const auto& entry : manifest.removed) old.push_back(entry.name);
    SortUnique(lines, fresh);
    SortUnique(lines, old);
    if (old.size() > manifest.old.members ||
        manifest.old.members - manifest.removed.size() + appeared != manifest.fresh.members) {
        lines.Fail("the members that change do not fit the counts of the sides");
    }
}

}  // namespace patch
