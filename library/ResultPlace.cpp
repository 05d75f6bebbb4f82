#include "library/ResultPlace.h"

#include <string>

#include "library/Translate.h"
#include "platform/Directories.h"
#include "vaconverter/error.h"

namespace va {
namespace {

[[noreturn]] void Refuse(const std::filesystem::path& result, const std::string& reason) {
    throw Error(ErrorCode::Refused, SystemPath(result) + reason, result);
}

bool LiesBelow(const std::filesystem::path& result, const std::filesystem::path& folder) {
    const std::string inside = platform::RealPath(SystemPath(folder).c_str());
    const std::string parent = SystemPath(result.parent_path());
    const std::string place = platform::RealPath(parent.empty() ? "." : parent.c_str());
    if (inside.empty() || !place.starts_with(inside)) return false;
    return place.size() == inside.size() || inside.back() == '/' || place[inside.size()] == '/';
}

}  // namespace

void JudgeResultPlace(const std::filesystem::path& result, bool replace,
                      const std::vector<std::filesystem::path>& inputs) {
    const std::string path = SystemPath(result);
    for (const std::filesystem::path& input : inputs) {
        if (platform::IsSameFile(path.c_str(), SystemPath(input).c_str())) {
            Refuse(result, " is one of the inputs; name another file");
        }
        if (LiesBelow(result, input)) {
            Refuse(result, " lies below the input folder " + SystemPath(input) +
                               " and would become part of it; name a file elsewhere");
        }
    }
    const platform::EntryKind kind = platform::GetEntryKind(path.c_str());
    if (kind == platform::EntryKind::None) return;
    if (kind != platform::EntryKind::File && kind != platform::EntryKind::Link) {
        Refuse(result, ": a folder or device has this name; name a file");
    }
    if (!replace) Refuse(result, " exists; -f replaces it");
    platform::FileStatus status;
    if (kind == platform::EntryKind::File && platform::GetStatus(path.c_str(), status) &&
        (status.attributes & platform::kAttributeReadOnly) != 0) {
        Refuse(result, " is read-only and stays as it is; make it writable to replace it");
    }
}

}  // namespace va
