// Results of the tag commands: files that appear whole or not at all, and standard output.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace va::tool {

class Run;

// Throws Failure (Usage, Refused) for outputs that are certain to be refused, so that no work is
// wasted: a member, a folder, a device or a pipe, a read-only file, without `replace` any file. Of
// files that exist the first ten are named. "-" is standard output.
void CheckOutputs(const std::vector<std::string>& paths, bool replace);

// Writes a file beside `path`, which takes its place in one step when it is complete and synced.
// Otherwise nothing is left, also when the run is ended from outside. A link in that place
// is replaced, not what it leads to. What replaces a file gets its permissions; without `replace`
// nothing that exists is replaced, also not what comes meanwhile. Throws Failure (Refused,
// DiskFull); `path` is then as it was.
void WriteFileWhole(const std::string& path, std::span<const std::byte> bytes, bool replace);

// Writes to a file, to standard output for "-", and nowhere with --dry-run. Binary content goes to
// a terminal only with `replace`.
void WriteOutput(Run& run, const std::string& path, std::span<const std::byte> bytes, bool replace);

}  // namespace va::tool
