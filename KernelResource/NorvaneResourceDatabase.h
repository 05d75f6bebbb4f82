// The resource database of one asset archive, or of a folder where there is no archive.
#pragma once

#include <string_view>

#include "KernelResource/ResourceDatabase.h"
#include "kernel/PathBuffer.h"

namespace Vorn {

class NorvaneResourceDatabase final : public ResourceDatabase {
public:
    // Mounts the archive "<folder><name>.va" under the name, read-only; without `archiveExists`
    // the folder "<folder><name>/", writable, which may be missing. Throws FileEx when that does
    // not fit a path.
    NorvaneResourceDatabase(const InternedString& name, const InternedString& folder,
                            bool archiveExists);
    // Closes everything mounted under the name.
    ~NorvaneResourceDatabase() override;

    [[nodiscard]] bool ArchiveExists() const { return archiveExists_; }

    // The archive's path.
    [[nodiscard]] static PathBuffer ArchivePath(std::string_view folder, std::string_view name);

private:
    bool archiveExists_;
    InternedString mountName_;
};

}  // namespace Vorn
