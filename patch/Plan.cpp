#include "patch/Plan.h"

#include <algorithm>
#include <optional>

#include "archive/Names.h"
#include "patch/Error.h"
#include "patch/Layout.h"

namespace patch {
namespace {

using From = Part::From;
using Store = Part::Store;

[[noreturn]] void RefuseOld(const OldSide& old, const char* reason, std::string_view member) {
    throw Error(ErrorCode::Refused, old.Path(), reason, member);
}

// Streams in archives of the earlier format have another header.
bool CanCopy(const OldSide& side, std::size_t member) {
    if (!side.Reader()) return false;
    return side.Reader()->Header().version == archive::kArchiveVersion102 ||
           !side.Members()[member].compressed;
}

Part Unchanged(const OldSide& side, std::size_t member) {
    return {.from = From::Old,
            .store = CanCopy(side, member) ? Store::Copied : Store::AsConverter,
            .name = side.Members()[member].name,
            .old = member};
}

// The patch's change of each member of the old side.
class OldChanges {
public:
    // Looks up the names of the changes, which are few, rather than those of the members.
    OldChanges(const OldSide& old, const PatchFile& patch)
        : changes_(old.Members().Count()), isAdded_(old.Members().Count()) {
        for (const Change& change : patch.Changes()) {
            const std::optional<std::size_t> member = old.Members().Find(change.name);
            if (!member && change.kind == Change::Kind::Changed) {
                RefuseOld(
                    old, "the patch changes it and it is missing; the patch is for another archive",
                    change.name);
            }
            if (!member) continue;
            if (change.kind == Change::Kind::Added) {
                isAdded_[*member] = true;
            } else {
                changes_[*member] = &change;
            }
        }
    }

    // Null for a member that stays.
    [[nodiscard]] const Change* Of(std::size_t member) const { return changes_[member]; }
    // Whether a member of that name is added.
    [[nodiscard]] bool IsAdded(std::size_t member) const { return isAdded_[member]; }

private:
    std::vector<const Change*> changes_;
    std::vector<bool> isAdded_;
};

// Returns the parts in the order of the fixed converter: added members, then those of the old side.
// Without a manifest the result has this order, so that both programs give the same bytes.
std::vector<Part> Collect(const OldSide& old, const PatchFile& patch) {
    const OldChanges changes(old, patch);
    std::vector<Part> parts;
    parts.reserve(old.Reachable().size() + patch.Changes().size());
    for (const Change& change : patch.Changes()) {
        if (change.kind != Change::Kind::Added) continue;
        Part part{.name = change.name, .change = &change};
        if (change.held) {
            part.from = From::Patch;
            part.store = Store::Copied;
            part.held = *change.held;
        }
        parts.push_back(part);
    }
    for (const std::size_t member : old.Reachable()) {
        Part part = Unchanged(old, member);
        const Change* change = changes.Of(member);
        if (change && change->kind == Change::Kind::Removed) continue;
        if (change) {
            part.from = From::Diff;
            part.store = Store::AsConverter;
            part.name = change->name;
            part.held = *change->held;
            part.change = change;
        } else if (changes.IsAdded(member)) {
            // Replacing it would lose a content that the maker of the patch did not know.
            RefuseOld(old, "the patch adds it and it is there; the patch is for another archive",
                      part.name);
        }
        parts.push_back(part);
    }
    return parts;
}

// Lays parts out as a manifest says.
class Arrangement {
public:
    Arrangement(const OldSide& old, const PatchFile& patch, const std::vector<Part>& parts)
        : old_(old), patch_(patch) {
        std::vector<std::string_view> names;
        names.reserve(parts.size());
        for (const Part& part : parts) names.push_back(part.name);
        parts_.reserve(parts.size());
        for (const std::uint32_t number : archive::CanonicalOrder(names)) {
            parts_.push_back(parts[number]);
        }
    }

    [[nodiscard]] std::vector<Part> Arrange(const Manifest& manifest) {
        // The layout counts members by their places, so it fits no other number.
        if (parts_.size() != manifest.fresh.members) {
            RefuseOld(old_, "it has another number of members than the patch was made for", {});
        }
        std::vector<LaidMember> laid;
        laid.reserve(parts_.size());
        for (const Part& part : parts_) laid.push_back(Describe(part));
        const std::vector<StoreAs> storage = StorageOf(manifest.storage, laid);
        std::vector<Part> arranged;
        arranged.reserve(parts_.size());
        for (const std::uint32_t number : OrderOf(manifest.order, laid)) {
            Part& part = arranged.emplace_back(parts_[number]);
            part.store = StoreOf(part, storage[number]);
        }
        return arranged;
    }

private:
    // The member whose stored bytes the part could take.
    [[nodiscard]] std::optional<archive::TreeMember> Source(const Part& part) const {
        if (part.from == From::Patch) return patch_.Members()[part.held];
        if (part.from == From::Old && CanCopy(old_, part.old)) return old_.Members()[part.old];
        return std::nullopt;
    }

    // The old side's member of that name.
    [[nodiscard]] std::optional<std::size_t> PlaceInOld(const Part& part) const {
        if (part.from == From::Old || part.from == From::Diff) return part.old;
        return old_.Members().Find(part.name);
    }

    [[nodiscard]] LaidMember Describe(const Part& part) const {
        LaidMember laid;
        laid.bytes = part.change != nullptr ? part.change->newBytes : old_.Members()[part.old].size;
        if (const auto place = PlaceInOld(part)) {
            laid.oldPlace = static_cast<std::uint32_t>(*place);
        }
        laid.unchanged = part.from == From::Old;
        if (laid.unchanged && old_.Reader()) {
            laid.oldCompressed = old_.Members()[part.old].compressed;
        }
        return laid;
    }

    // Bytes that are stored in the wanted way already are copied. For a stream its size also
    // answers whether compressing saves enough, and nothing has to be packed to find out.
    [[nodiscard]] Store StoreOf(const Part& part, StoreAs as) const {
        const std::optional<archive::TreeMember> source = Source(part);
        const bool isStream = source && source->compressed;
        const bool saves = isStream && SavesEnough(source->size, source->storedSize);
        if (isStream && as == StoreAs::CompressedIfItSaves) {
            as = saves ? StoreAs::Compressed : StoreAs::Plain;
        }
        if (isStream && as == StoreAs::PlainIfItSaves) {
            as = saves ? StoreAs::Plain : StoreAs::Compressed;
        }
        switch (as) {
            case StoreAs::Plain:
                return source && !isStream ? Store::Copied : Store::Plain;
            case StoreAs::Compressed:
                return isStream ? Store::Copied : Store::Compressed;
            case StoreAs::CompressedIfItSaves:
                return Store::CompressedIfItSaves;
            default:
                return Store::PlainIfItSaves;
        }
    }

    const OldSide& old_;
    const PatchFile& patch_;
    std::vector<Part> parts_;
};

}  // namespace

std::vector<Part> PlanResult(const OldSide& old, const PatchFile& patch) {
    std::vector<Part> parts = Collect(old, patch);
    if (!patch.GetManifest()) return parts;
    return Arrangement(old, patch, parts).Arrange(*patch.GetManifest());
}

std::vector<Part> PlanCopy(const OldSide& side) {
    std::vector<Part> parts;
    for (const std::size_t member : side.Reachable()) parts.push_back(Unchanged(side, member));
    return parts;
}

}  // namespace patch
