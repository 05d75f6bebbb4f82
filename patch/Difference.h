// What is known about the difference of two sides while a patch is made, and how the patch says it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "patch/Input.h"
#include "patch/Lists.h"
#include "patch/Manifest.h"
#include "patch/Pairs.h"

namespace patch {

// What becomes of a member.
struct MemberChange {
    enum class Kind { Changed, Added, Moved, Removed, Empty };
    Kind kind = Kind::Changed;
    std::string name{};     // as stored, '/' between components
    std::string oldName{};  // of a moved member: one of the old side with the same content
    std::uint64_t oldBytes = 0;
    std::uint64_t newBytes = 0;
    std::uint64_t patchBytes = 0;  // that the patch stores for it
};

// A member of the new side that the patch carries.
struct Carried {
    Number fresh;
    std::optional<Number> old;  // the member its diff is made from; nothing for an added one

    // Known once the member is made.
    std::string oldMd5{};
    std::string newMd5{};
    std::uint64_t patchBytes = 0;
    // Set by FindMoved: the old member whose content an added one has.
    std::optional<Number> movedFrom{};
};

struct Removed {
    Number old;
    std::string md5{};  // known once its content is digested
};

struct Difference {
    Difference(const Input& oldSide, const Input& newSide) : old(oldSide), fresh(newSide) {}

    const Input& old;
    const Input& fresh;
    Pairs pairs;
    SideDigests digests;

    // Each in the canonical order of the names.
    std::vector<Carried> carried;
    std::vector<Number> empty;  // added members without content
    std::vector<Removed> removed;
};

// Returns the name under which a patch knows a member.
[[nodiscard]] std::string PatchName(std::string_view stored);

// Compares the sides and lists what differs. With `digests`, those of equal members are known then.
// Throws Error.
[[nodiscard]] Difference FindDifference(const Input& old, const Input& fresh, bool digests,
                                        unsigned threads, const ProgressFunction& progress);

// Returns the names of the members of the new side without content, in their canonical order. No
// program that knows only the lists makes them, even if the old side has them too.
[[nodiscard]] std::vector<std::string> WithoutContent(const Difference& difference);

// Throws Error (Refused) naming members that differ and that a patch cannot carry. With
// `needsContent`, also members of the new side without content.
void RefuseUncarried(const Difference& difference, bool needsContent);

// Sets movedFrom of the added members. All digests must be known.
void FindMoved(Difference& difference);

[[nodiscard]] List AddedList(const Difference& difference);
[[nodiscard]] List DeletedList(const Difference& difference);
[[nodiscard]] List PatchedList(const Difference& difference);

// Returns the changes in the canonical order of the names.
[[nodiscard]] std::vector<MemberChange> ChangesOf(const Difference& difference);

// Sides, spots and members; what it says about the result's file is the caller's.
[[nodiscard]] Manifest ManifestOf(const Difference& difference, unsigned threads);

}  // namespace patch
