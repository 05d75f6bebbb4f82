#include "vaconverter/overlay.h"

#include <algorithm>
#include <map>
#include <string>

#include "archive/Names.h"
#include "library/Doubles.h"
#include "library/SideReader.h"
#include "library/Workers.h"

namespace va {
namespace {

// Compares the contents of two sides' members, mostly by the check sums of their indexes: a
// collision would only hide a hint, and reading the contents would take as long as merging them.
class ContentComparison {
public:
    explicit ContentComparison(std::span<const Archive> sides, WorkProgress& work) : work_(work) {
        for (const Archive& side : sides) readers_.emplace_back(side);
    }

    [[nodiscard]] bool Same(std::size_t sideA, const Member& a, std::size_t sideB,
                            const Member& b) {
        return a.Size() == b.Size() && SumOf(sideA, a) == SumOf(sideB, b);
    }

private:
    [[nodiscard]] std::uint32_t SumOf(std::size_t side, const Member& member) {
        // Progress counts what is read; a sum that the index has costs nothing.
        if (!member.Crc()) work_.Add(member.Size());
        return CheckSumOf(readers_[side], member);
    }

    WorkProgress& work_;
    std::vector<SideReader> readers_;
};

}  // namespace

std::vector<OverlaidMember> Overlay(std::span<const Archive> sides,
                                    const ProgressFunction& progress) {
    for (const Archive& side : sides) RefuseDoubles(side);
    // Mounts find names in any letter case; the order of the result is that of folded names.
    std::map<std::string, OverlaidMember> names;
    std::uint64_t total = 0;
    for (std::size_t side = 0; side < sides.size(); ++side) {
        for (const Member& member : sides[side].Members()) {
            const auto [place, isNew] = names.try_emplace(archive::FoldName(member.StoredName()));
            OverlaidMember& overlaid = place->second;
            // A later side hides the earlier ones.
            if (!isNew) overlaid.hidden.push_back({overlaid.side, overlaid.member.Index()});
            overlaid.side = side;
            overlaid.member = member;
        }
    }
    std::vector<OverlaidMember> members;
    members.reserve(names.size());
    for (auto& [name, overlaid] : names) {
        // Only what hides something is compared.
        if (!overlaid.hidden.empty()) total += overlaid.member.Size();
        members.push_back(std::move(overlaid));
    }
    WorkProgress work(progress, "comparing", total);
    ContentComparison comparison(sides, work);
    for (OverlaidMember& overlaid : members) {
        for (const auto& [side, index] : overlaid.hidden) {
            const Member& other = sides[side].Members()[index];
            if (!comparison.Same(side, other, overlaid.side, overlaid.member)) {
                overlaid.conflict = true;
            }
        }
    }
    return members;
}

}  // namespace va
