#include "KernelResource/NorvaneResourceDatabase.h"

#include <string>

#include "KernelStandard/FileSubstList.h"
#include "kernel/Paths.h"

namespace Vorn {
namespace {

[[nodiscard]] PathBuffer Join(std::string_view folder, std::string_view name,
                              std::string_view ending) {
    PathBuffer path(folder);
    AppendPathComponent(path, std::string(name).append(ending));
    return path;
}

}  // namespace

NorvaneResourceDatabase::NorvaneResourceDatabase(const InternedString& name,
                                                 const InternedString& folder, bool archiveExists)
    : ResourceDatabase(name), archiveExists_(archiveExists) {
    if (archiveExists) {
        Subst(name, ArchivePath(folder.View(), name.View()).c_str());
    } else {
        Subst(name, Join(folder.View(), name.View(), "/").c_str(), true);
    }
    mountName_ = name;  // only now: a mount that failed is not ours to close
}

NorvaneResourceDatabase::~NorvaneResourceDatabase() {
    EndLoads();  // before the mount that they read from closes
    CloseMount(mountName_);
}

PathBuffer NorvaneResourceDatabase::ArchivePath(std::string_view folder, std::string_view name) {
    return Join(folder, name, ".va");
}

}  // namespace Vorn
