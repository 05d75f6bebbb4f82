// Decides what can be saved of a damaged archive: what was found in its bytes (SalvageScan.h) is
// brought together with what its indexes say, and every content is judged.
//
// A member that an index lists is saved from its place, or from wherever a chunk with the same
// entry lies. A chunk that no index lists is a member only where no whole index covers it: such an
// index leaves out what was deleted. Of several members of one name the last in the file is saved,
// but of those that one index lists the first, which is the one that readers find.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "archive/SalvageScan.h"

namespace archive {

struct SalvagedMember {
    std::string name;  // as stored
    Member numbers;    // sizes, check sum, times, attributes; `name` and `dataOffset` are not set
    std::uint64_t place = 0;                     // of the data in the file
    std::uint32_t version = kArchiveVersion102;  // streams of version 0x101 have a shorter header
    std::string doubt{};  // why it is not whole; of a saved member, what is not certain
};

struct SalvageResult {
    std::vector<SalvagedMember> saved;  // by place, names differ in more than letter case
    // Of a name that was saved as well only if it is the later one in the file.
    std::vector<SalvagedMember> lost;
    std::uint64_t unnamed = 0;            // further members that headers promise
    std::uint64_t older = 0;              // whole members that another one of the same name hides
    std::uint64_t unlisted = 0;           // live chunks that a whole index leaves out
    bool indexed = false;                 // every header has its index, and that is whole
    std::optional<ArchiveHeader> header;  // the first one
};

class Salvage {
public:
    explicit Salvage(ScannedFile scanned);
    Salvage(const Salvage&) = delete;
    Salvage& operator=(const Salvage&) = delete;

    // The contents to judge, by place; each by one thread.
    [[nodiscard]] std::size_t ToJudge() const { return toJudge_.size(); }
    [[nodiscard]] std::uint64_t SizeToJudge(std::size_t number) const;
    void Judge(std::size_t number, WholenessJudge& judge);

    // Call once, after all were judged.
    [[nodiscard]] SalvageResult Resolve() const;

private:
    friend class SalvagePicks;

    static constexpr std::size_t kNone = SIZE_MAX;

    // Says that a content lies at a place. A chunk or a record makes it.
    struct Claim {
        const MemberTable* table;
        MemberTable::Ordinal ordinal;
        std::uint64_t place;
        std::uint32_t version;
        Wholeness state;
        std::string reason;
    };
    struct Record {
        std::size_t chunk = kNone;  // at its place
        std::size_t claim = kNone;  // none if it says the same as the chunk
        const char* reason = "";    // why it has no claim
    };
    struct Index {
        const FoundIndex* found;
        std::uint64_t base = 0;
        std::uint64_t end = 0;  // of the members that it covers, which begin at `base`
        // A header names it, or it agrees with a chunk: else it may be that of an archive inside a
        // member, of which only what proves itself counts.
        bool trusted = false;
        bool covers = false;  // what it leaves out was deleted
        std::vector<Record> records{};
    };

    void AcceptIndex(const FoundIndex& found);
    [[nodiscard]] std::uint64_t BaseOf(const FoundIndex& found) const;
    void PlaceRecords(Index& index);
    void DropOverlappingRecords();
    [[nodiscard]] static bool SameNumbers(const Member& a, const Member& b);
    [[nodiscard]] std::size_t ChunkAt(std::uint64_t place) const;
    [[nodiscard]] std::size_t ChunkLike(const Member& member) const;
    [[nodiscard]] bool IsWhole(std::size_t claim) const;
    [[nodiscard]] Member MemberOf(std::size_t claim) const;
    [[nodiscard]] bool HasCheckSums() const;
    [[nodiscard]] SalvagedMember Described(std::size_t claim) const;
    [[nodiscard]] const Index* IndexOver(std::uint64_t place) const;

    ScannedFile scanned_;
    std::vector<Index> indexes_;
    std::vector<Claim> claims_;  // first those of the chunks
    std::vector<std::size_t> toJudge_;
};

}  // namespace archive
