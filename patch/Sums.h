// The digests of one side of a patch, an archive or a folder, as `sha256sum` would print them.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "patch/Sha256.h"

namespace patch {

// A member's name in UTF-8, '/' between components, and the digest of its content.
struct Sum {
    std::string name;
    Sha256Digest digest;

    bool operator==(const Sum&) const = default;
};

// Returns the line that `sha256sum` prints for a file of that name, with its line feed. A name
// with a backslash or a line end is escaped, and the line then begins with a backslash. So is one
// with another control byte, as \x1b: `sha256sum` would print the byte, and terminals obey it.
[[nodiscard]] std::string FormatSum(const Sum& sum);

// Sorts by the byte order of the names; members of one name by their digests.
void SortSums(std::span<Sum> sums);

// Returns the digest of a side: that of the lines of all its members, sorted.
[[nodiscard]] Sha256Digest DigestOfSide(std::vector<Sum> sums);

// Short digests of the unchanged members: each covers those whose folded names hash to one of 256
// spots. When one member was altered, the spot that differs narrows it down to one in 256.
class Spots {
public:
    static constexpr std::size_t kCount = 256;
    static constexpr std::size_t kSpotBytes = 6;

    // Returns the spot of a member, by its stored name.
    [[nodiscard]] static std::size_t SpotOf(std::string_view storedName);

    // Adds a member. The order does not matter, so that workers keep their own and join them.
    void Add(std::string_view storedName, const Sha256Digest& digest);
    void Join(const Spots& other);

    [[nodiscard]] std::uint64_t operator[](std::size_t spot) const { return sums_[spot]; }
    // Sets one spot, of which 48 bits count.
    void Set(std::size_t spot, std::uint64_t value);

    bool operator==(const Spots&) const = default;

private:
    std::array<std::uint64_t, kCount> sums_{};
};

}  // namespace patch
