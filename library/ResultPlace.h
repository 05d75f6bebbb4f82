// Where an archive or a patch is to be written: what is certain to fail at the end is refused
// before the work.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace va {

// Throws Error (Refused) for a result that would replace one of the inputs or lie below one that is
// a folder, of which it would become a member; for a folder or device; for a file that is not to be
// replaced, or is read-only; for a folder that takes no file of that name. Throws NotFound for a
// folder that is not there. Returns whether the result is to replace a link.
bool JudgeResultPlace(const std::filesystem::path& result, bool replace,
                      const std::vector<std::filesystem::path>& inputs);

// Throws Error (DiskFull) if the disk of `result` has less than `bytes` free.
void JudgeSpace(const std::filesystem::path& result, std::uint64_t bytes);
// The same for the disk of a folder that is there.
void JudgeSpace(const std::filesystem::path& folder, const std::filesystem::path& result,
                std::uint64_t bytes);

}  // namespace va
