// Results that va writes itself, from memory: files that appear whole or not at all, and standard
// output. Also what is said about any result's place; archives and extracted members are written by
// the library.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace va::tool {

class Run;

enum class Folders { AreThere, AreMade };

// Throws Failure (Usage, Refused, NotFound, DiskFull) for outputs that are certain to be refused,
// so that no work is wasted: a member, a folder, a device or a pipe, a read-only file, without
// `replace` any file, a folder that is not there (unless it will be made) or takes no such file. Of
// files that exist the first ten are named. "-" is standard output.
void CheckOutputs(const std::vector<std::string>& paths, bool replace,
                  Folders folders = Folders::AreThere);

// Writes a file beside `path`, which takes its place in one step when it is complete and synced.
// Nothing is left otherwise, except by a run that is killed, and the next one removes that. A link
// in that place is replaced, not what it leads to. What replaces a file gets its permissions;
// without `replace` nothing that exists is replaced, also not what comes meanwhile. With --dry-run
// only the space is checked. Throws Failure (Refused, DiskFull); `path` is then as it was.
void WriteFileWhole(Run& run, const std::string& path, std::span<const std::byte> bytes,
                    bool replace);

// Writes to a file, or to standard output for "-". Binary content goes to a terminal only with
// `replace`.
void WriteOutput(Run& run, const std::string& path, std::span<const std::byte> bytes, bool replace);

// Says that a result replaced a link, if it did.
void TellReplacedLink(Run& run, const std::string& path, bool replaced);

// Says which files of killed runs were removed.
void TellAbandoned(Run& run, const std::vector<std::string>& paths);

// Both for an archive that the library wrote; `result` is the library's.
template <typename Result>
void TellPlace(Run& run, const std::filesystem::path& path, const Result& result) {
    TellAbandoned(run, {result.abandoned.begin(), result.abandoned.end()});
    TellReplacedLink(run, path.string(), result.replacesLink);
}

}  // namespace va::tool
