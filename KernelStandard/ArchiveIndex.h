// The members of one archive in memory: in order, by name, and by the folder they stand in.
//
// A member's key is its name in lower case, interned; nothing else of the name is changed. Of
// members with one key the first added is found. Members are known by their ordinal, their number
// in the order of adding, which never changes; a removed member leaves a gap.
//
// Not locked: the archive's lock guards it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "archive/ArchiveFormat.h"
#include "kernel/InternedString.h"

namespace Vorn {

struct MemberRecord {
    std::uint32_t dataOffset = 0;
    std::uint32_t storedSize = 0;
    InternedString key;
    FindEntry entry;
    bool removed = false;

    [[nodiscard]] std::uint64_t DataEnd() const { return std::uint64_t{dataOffset} + storedSize; }
};

class ArchiveIndex {
public:
    using Ordinal = std::uint32_t;

    // Makes room for so many members.
    void Reserve(std::size_t count);
    // Appends a member.
    Ordinal Add(std::uint32_t dataOffset, std::uint32_t storedSize, const FindEntry& entry);
    void Remove(Ordinal ordinal);

    // Makes the directories on the way to `name` known to IsDirectory.
    void AddDirectoriesOf(std::string_view name);
    // Whether `name` is a known directory; with `normalise` in any letter case, with either
    // separator and one trailing separator ignored.
    [[nodiscard]] bool IsDirectory(std::string_view name, bool normalise);

    [[nodiscard]] std::optional<Ordinal> Find(const InternedString& key) const;

    [[nodiscard]] const MemberRecord& operator[](Ordinal ordinal) const {
        return members_[ordinal];
    }
    // One past the largest ordinal, gaps included.
    [[nodiscard]] Ordinal End() const { return static_cast<Ordinal>(members_.size()); }
    [[nodiscard]] std::uint32_t Count() const { return count_; }
    [[nodiscard]] bool Empty() const { return count_ == 0; }
    // The largest end of a member's data, removed ones included; 0 when there never was one.
    [[nodiscard]] std::uint64_t EndOfData() const { return endOfData_; }

    // The ordinals, ascending, of the members whose names begin with `prefix`: any letter case,
    // either separator, a leading "./" ignored on both sides. Finding them costs no look at the
    // others, so that walking a tree folder by folder costs members times depth.
    [[nodiscard]] std::vector<Ordinal> MembersBelow(std::string_view prefix);

    // The key of a member name.
    [[nodiscard]] static InternedString KeyOf(std::string_view name);

private:
    struct SameKey {
        Ordinal first;
        std::vector<Ordinal> later;
    };

    void SortNewNames();

    std::vector<MemberRecord> members_;
    std::uint32_t count_ = 0;
    std::uint64_t endOfData_ = 0;
    std::unordered_map<InternedString, SameKey, InternedHash> byKey_;
    std::unordered_set<InternedString, InternedHash> directories_;
    std::string lastDirectory_;    // what the last directory test found
    std::vector<Ordinal> byName_;  // sorted by folded name; may lag behind members_
};

}  // namespace Vorn
