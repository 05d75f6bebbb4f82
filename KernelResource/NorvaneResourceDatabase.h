// The resource database of one asset archive, or of a folder if the archive does not exist.
#pragma once

#include <string_view>

#include "KernelResource/ResourceDatabase.h"
#include "kernel/PathBuffer.h"

namespace Vorn {

class NorvaneResourceDatabase final : public ResourceDatabase {
public:
    // Mounts the archive "<folder><name>.va" under the name, read-only. Without `archiveExists`,
    // mounts the folder "<folder><name>/" instead, writable; it may be missing. Throws FileEx if
    // the path is too long.
    NorvaneResourceDatabase(const InternedString& name, const InternedString& folder,
                            bool archiveExists);
    // Closes everything mounted under the name.
    ~NorvaneResourceDatabase() override;

    [[nodiscard]] bool ArchiveExists() const { return archiveExists_; }

    // Returns the path of the archive.
    [[nodiscard]] static PathBuffer ArchivePath(std::string_view folder, std::string_view name);

private:
    bool archiveExists_;
    InternedString mountName_;
};

}  // namespace Vorn
