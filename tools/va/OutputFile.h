// Writes results from memory to files, which appear complete or not at all, and to standard output.
// Also the notes about the place of any result. The library writes archives and extracted members.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace va::tool {

class Run;

// Whether the folders of outputs exist, or will be created.
enum class Folders { AreThere, AreMade };

// Throws Failure (Usage, Refused, NotFound, DiskFull) for outputs that are certain to be refused,
// so that no work is wasted: a member, a folder, a device or a pipe; a read-only file; an existing
// file without `replace`; a file whose folder does not exist (unless it will be created) or cannot
// take it. The message names the first ten existing files. "-" is standard output.
void CheckOutputs(const std::vector<std::string>& paths, bool replace,
                  Folders folders = Folders::AreThere);

// Writes a temporary file beside `path`, which atomically replaces `path` once it is complete and
// synced. On failure the temporary file is removed; one that a killed run left is removed by the
// next run. A link at `path` is replaced; its target does not change. The new file gets the
// permissions of the one that it replaces. Without `replace` no existing file is replaced, not even
// one that appears meanwhile. With --dry-run only checks the space. Throws Failure (Refused,
// DiskFull); `path` is then unchanged.
void WriteFileWhole(Run& run, const std::string& path, std::span<const std::byte> bytes,
                    bool replace);

// Writes to a file, or to standard output for "-". Refuses to write binary content to a terminal
// without `replace`.
void WriteOutput(Run& run, const std::string& path, std::span<const std::byte> bytes, bool replace);

// Reports that a result replaced a link, if `replaced`.
void ReportReplacedLink(Run& run, const std::string& path, bool replaced);

// Reports the temporary files of killed runs that were removed.
void ReportAbandoned(Run& run, const std::vector<std::string>& paths);

// Reports both for an archive that the library wrote; `result` is the library's.
template <typename Result>
void ReportPlace(Run& run, const std::filesystem::path& path, const Result& result) {
    ReportAbandoned(run, {result.abandoned.begin(), result.abandoned.end()});
    ReportReplacedLink(run, path.string(), result.replacesLink);
}

}  // namespace va::tool
