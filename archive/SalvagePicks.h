// Chooses what is saved of a damaged archive, once all contents were judged: of the members of one
// name, of what records and chunks say, and of the chunks that no record names.
//
// Borrows the Salvage, which has the rules in its header.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "archive/Salvage.h"

namespace archive {

class SalvagePicks {
public:
    explicit SalvagePicks(const Salvage& salvage);

    // Call once.
    [[nodiscard]] SalvageResult Resolve();

private:
    using Index = Salvage::Index;
    using Record = Salvage::Record;
    static constexpr std::size_t kNone = Salvage::kNone;

    // Chunks that a damaged index does not list come before all others; then the later one wins.
    struct Rank {
        bool believed = true;
        std::uint64_t place = 0;
        bool operator<(const Rank& other) const {
            return std::tie(believed, place) < std::tie(other.believed, other.place);
        }
    };
    // The member of one name.
    struct Pick {
        std::optional<SalvagedMember> saved{};
        std::optional<SalvagedMember> lost{};
        Rank savedRank{};
        Rank lostRank{};
    };
    // A record whose member was not found.
    struct Missing {
        const Index* index;
        MemberTable::Ordinal ordinal;
    };

    void Save(SalvagedMember member, bool believed);
    void Lose(SalvagedMember member, bool believed);
    [[nodiscard]] bool HasLost(std::string_view name) const;
    // Returns whether a place lies in the content of a member that an index lists.
    [[nodiscard]] bool IsInside(std::uint64_t place) const;

    // Returns whether the member of a record was saved, or another one hides it.
    [[nodiscard]] bool PickRecord(const Index& index, MemberTable::Ordinal ordinal);
    void PickMissing(const std::vector<Missing>& missing);
    [[nodiscard]] SalvagedMember DescribedLost(const Index& index,
                                               MemberTable::Ordinal ordinal) const;
    void PickChunk(std::size_t chunk);
    void CountPromised(SalvageResult& result) const;

    const Salvage& salvage_;
    const bool hasSums_;                                            // some member has a check sum
    std::map<std::string, Pick> byName_;                            // by folded name
    std::vector<std::pair<std::uint64_t, std::uint64_t>> extents_;  // of what is saved
    std::vector<std::pair<std::uint64_t, std::uint64_t>> listed_;   // the same, sorted
    std::uint64_t older_ = 0;
    std::uint64_t unlisted_ = 0;
    std::vector<char> used_;  // chunks that a record has
};

}  // namespace archive
