// Where an archive or a patch is to be written: what is certain to fail at the end is refused
// before the work.
#pragma once

#include <filesystem>
#include <vector>

namespace va {

// Throws Error (Refused) for a result that would replace one of the inputs or lie below one that is
// a folder, of which it would become a member; for a folder or device; for a file that is not to be
// replaced, or is read-only.
void JudgeResultPlace(const std::filesystem::path& result, bool replace,
                      const std::vector<std::filesystem::path>& inputs);

}  // namespace va
