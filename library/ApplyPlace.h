// Where the result of a patch goes. Places that cannot be taken are refused before any work is
// done.
#pragma once

#include <filesystem>
#include <string>

#include "patch/PatchFile.h"
#include "vaconverter/patch.h"

namespace va {

// Returns whether a folder, or a link to one, is at `path`.
[[nodiscard]] bool IsFolder(const std::filesystem::path& path);

// Returns the name of a result that nothing else names.
[[nodiscard]] std::string NameBesideOld(const ApplyPatchOptions& options);

class ApplyPlace {
public:
    // Borrows the options. Throws Error (Usage) for an old folder without a named result.
    ApplyPlace(const ApplyPatchOptions& options, const patch::PatchFile& patchFile);

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

    // Returns whether the place is that of the old side.
    [[nodiscard]] bool IsOld() const;

    // Returns whether a file is there that is not to be replaced.
    [[nodiscard]] bool IsTaken() const;

    // Returns whether a link is to be replaced. Throws Error (Refused, NotFound, DiskFull).
    [[nodiscard]] bool Check() const;

private:
    const ApplyPatchOptions& options_;
    std::filesystem::path path_;
};

}  // namespace va
