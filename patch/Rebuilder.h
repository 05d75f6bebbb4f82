// Makes the members of a result that cannot be copied: changed ones, and those that are to be
// stored in another way. One for each worker thread.
#pragma once

#include <memory>

#include "archive/PackedMember.h"
#include "archive/Tree.h"
#include "delta/Delta.h"
#include "patch/OldSide.h"
#include "patch/PatchFile.h"
#include "patch/Plan.h"

namespace patch {

class Rebuilder {
public:
    Rebuilder(const OldSide& old, const PatchFile& patch);

    // Returns the member as it is to be stored; its content has been compared with the patch's
    // digest. Throws Error.
    [[nodiscard]] archive::PackedMember Make(const Part& part);

private:
    [[nodiscard]] std::vector<std::byte> ReadOld(const Part& part);
    [[nodiscard]] std::vector<std::byte> ReadHeld(const Part& part);
    [[nodiscard]] delta::Bytes ApplyDiff(const Part& part, delta::Bytes oldContent,
                                         delta::Bytes diff);

    const OldSide& old_;
    const PatchFile& patch_;
    std::unique_ptr<archive::TreeReader> oldReader_;
    std::unique_ptr<archive::TreeReader> patchReader_;
    delta::Workspace workspace_;
};

// Returns an upper bound of the memory that Make takes for a part. Throws Error.
[[nodiscard]] std::uint64_t MemoryToRebuild(const Part& part, const OldSide& old,
                                            const PatchFile& patch);

}  // namespace patch
