#include "library/ApplyPlace.h"

#include "library/ResultPlace.h"
#include "library/Translate.h"
#include "platform/Directories.h"
#include "vaconverter/error.h"

namespace va {
namespace {

std::string NameOf(const patch::PatchFile& patchFile, const ApplyPatchOptions& options) {
    const auto& manifest = patchFile.GetManifest();
    return manifest && !manifest->name.empty() ? manifest->name : NameBesideOld(options);
}

}  // namespace

bool IsFolder(const std::filesystem::path& path) {
    platform::FileStatus status;
    return platform::GetStatus(SystemPath(path).c_str(), status) && status.IsDirectory();
}

std::string NameBesideOld(const ApplyPatchOptions& options) {
    return options.old.stem().string() + "-new.va";
}

ApplyPlace::ApplyPlace(const ApplyPatchOptions& options, const patch::PatchFile& patchFile)
    : options_(options), path_(options.result) {
    const std::string name = NameOf(patchFile, options);
    if (path_.empty()) {
        // Beside a folder of files an archive would be a surprise, and inside it a new member.
        if (IsFolder(options.old)) {
            throw Error(ErrorCode::Usage,
                        options.old.string() + " is a folder; name the archive to write with -o",
                        options.old);
        }
        path_ = options.old.parent_path() / name;
        // Versions that are kept in separate folders mostly have the same name.
        if (IsOld()) path_ = options.old.parent_path() / NameBesideOld(options);
    } else if (IsFolder(path_)) {
        path_ /= name;
    }
}

bool ApplyPlace::IsOld() const {
    return platform::IsSameFile(SystemPath(path_).c_str(), SystemPath(options_.old).c_str());
}

bool ApplyPlace::IsTaken() const {
    return !options_.replace &&
           platform::GetEntryKind(SystemPath(path_).c_str()) == platform::EntryKind::File;
}

bool ApplyPlace::Check() const {
    return JudgeResultPlace(path_, options_.replace, {options_.old, options_.patch});
}

}  // namespace va
