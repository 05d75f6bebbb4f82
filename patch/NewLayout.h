// Whether applying a patch can give the new archive byte for byte, and how the result must then be
// laid out.
//
// That is so for an archive as this system writes them: its members follow each other and the index
// follows them, their entries hold what the appender writes, and their stored bytes are those of
// the old side or those that packing their contents gives.
#pragma once

#include <atomic>
#include <optional>
#include <vector>

#include "patch/Difference.h"

namespace patch {

// What must be found out before the bytes of the result can be promised.
struct LayoutPlan {
    bool possible = false;  // nothing that is known so far is against it
    // Unchanged members that the result does not copy as the old side stores them: packing them
    // must give what the new archive stores.
    std::vector<Number> remade;
    // Some of them are streams on the old side. Where a description leaves it to a stream's size
    // how a member is stored, that of the old one counts, which need not be what packing gives.
    bool unpacksStreams = false;
    bool asksSaves = false;  // describing the storage needs Remade::saves
};
[[nodiscard]] LayoutPlan PlanLayout(const Difference& difference);

// Reads the new archive from its first byte to its last. Returns its size and digest if every byte
// outside the members' data is what the appender would write for them; else, or once `stop` is set,
// nothing. May run while members are made: it reads nothing that is written then. Throws Error if
// it cannot be read.
[[nodiscard]] std::optional<Manifest::File> DigestIfLaidOutAsWritten(const Input& old,
                                                                     const Input& fresh,
                                                                     const Pairs& pairs,
                                                                     const std::atomic<bool>& stop);

// Describes order, storage and versions of the new archive in the manifest. `saves` holds what is
// known about members of the new side: whether compressing them saves enough.
void DescribeLayout(const Difference& difference, const std::vector<std::optional<bool>>& saves,
                    Manifest& manifest);

}  // namespace patch
