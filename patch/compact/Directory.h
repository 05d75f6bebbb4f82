// What a compact patch says about its members, beside their contents.
//
// Members of the old side go by their places in the canonical order of that side's names, so that a
// number of a few bits stands for a name.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "delta/Bytes.h"
#include "patch/Sums.h"

namespace patch::compact {

using Place = std::uint32_t;  // of a member in the canonical order of the old side

// Content that an added member takes copies from.
struct Source {
    enum class Kind : std::uint8_t {
        Old,     // a member of the old side
        Carried  // another carried member that comes before
    };
    Kind kind = Kind::Old;
    std::uint32_t number = 0;  // a Place, or a number of a carried member
    bool operator==(const Source&) const = default;
};

struct Directory {
    struct Changed {
        Place place = 0;
        std::int64_t growth = 0;  // bytes: the new content's less the old one's
        bool operator==(const Changed&) const = default;
    };
    struct Moved {
        std::string name;
        Place from = 0;
        bool operator==(const Moved&) const = default;
    };
    struct Added {
        std::string name;
        std::uint64_t bytes = 0;
        std::vector<Source> sources{};
        // It repeats itself: coded in parts, and what came before is one source more.
        bool repeats = false;
        bool operator==(const Added&) const = default;
    };
    // Each in the canonical order of the names. Carried members are numbered through: those that
    // are changed, then those that are added.
    std::vector<Place> removed;
    std::vector<Changed> changed;
    std::vector<Moved> moved;
    std::vector<std::string> empty;
    std::vector<Added> added;
    Spots spots;  // of the old side's members that are changed or removed

    [[nodiscard]] std::size_t Carried() const { return changed.size() + added.size(); }
    bool operator==(const Directory&) const = default;
};

// For people: what the contents take in this patch, in bytes. Known when all of them are coded, so
// they are in a separate section, the last one.
struct Shares {
    std::uint64_t added = 0;
    std::uint64_t changed = 0;
    std::uint64_t rewritten = 0;  // changed almost wholly
    std::uint64_t rewrittenMembers = 0;
    bool operator==(const Shares&) const = default;
};

// No member has more sources.
inline constexpr std::size_t kMostSources = 200;

[[nodiscard]] delta::ByteBuffer FormatDirectory(const Directory& directory);

// Throws delta::Error (Damaged). Memory grows with the bytes alone.
[[nodiscard]] Directory ParseDirectory(delta::ByteView bytes, std::uint64_t oldMembers);

[[nodiscard]] delta::ByteBuffer FormatShares(const Shares& shares);

// Throws delta::Error (Damaged).
[[nodiscard]] Shares ParseShares(delta::ByteView bytes);

}  // namespace patch::compact
