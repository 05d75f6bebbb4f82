#include "converter/Walk.h"

#include <string>

#include "KernelStandard/File.h"
#include "KernelStandard/FileFind.h"
#include "converter/Console.h"
#include "converter/FixedLines.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace converter {

using namespace Vorn;

namespace {

// Stored names with "//", "/./" or "/../" lead back to the same folder or to another one: following
// them would meet members twice, or without end.
[[nodiscard]] bool IsOwnName(std::string_view name) {
    return !name.empty() && name != "." && name != "..";
}

}  // namespace

int WalkFolder(const InternedString& mount, const char* folder, const WalkStep& onFolder,
               const WalkStep& onMember) {
    PathBuffer pattern{std::string_view(folder)};
    AppendPathComponent(pattern, "*");
    File::Find find;
    if (!find.Open(pattern.c_str(), mount)) {
        PrintQuoted(line::kNoSearch, find.Entry().Name());
        return 1;
    }
    int result = 0;
    do {
        const archive::FindEntry& entry = find.Entry();
        PathBuffer path;
        find.GetPath(path);
        if (!IsOwnName(entry.Name())) {
            PrintProblem("skipped the members below \"" + std::string(path.View()) +
                         "\", which cannot be opened by their names");
            continue;
        }
        const bool isFolder = (entry.attributes & platform::kAttributeDirectory) != 0;
        result = isFolder ? onFolder(path.c_str()) : onMember(path.c_str());
    } while (result != 1 && find.Next());
    return result;
}

}  // namespace converter
