// The file of a patch archive while it is made.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "archive/NewArchive.h"
#include "archive/PackedMember.h"
#include "patch/Maker.h"

namespace patch {

// Writes the patch under a hidden name until it is whole; in a dry run it only counts what would be
// written. Borrows the options. All functions throw Error about the result's path.
class PatchWriter {
public:
    explicit PatchWriter(const MakeOptions& options);

    // Appends a member. Throws NoSpace if the patch would pass 4 GiB.
    void Store(std::string_view name, const archive::PackedMember& packed);

    // Appends a list or the manifest, compressed if that makes it smaller. Throws as Store.
    void StoreText(std::string_view name, std::string_view text);

    // Returns the hidden files of killed runs that were removed.
    [[nodiscard]] std::vector<std::string> Abandoned() const;

    // Reads the patch back if options.prove, and gives it its name. Returns its bytes.
    std::uint64_t Finish();

private:
    const MakeOptions& options_;
    std::optional<archive::NewArchive> file_;  // nothing in a dry run
    std::uint64_t bytes_ = archive::kArchivePreambleSize + archive::kChunkHeaderSize;
};

}  // namespace patch
