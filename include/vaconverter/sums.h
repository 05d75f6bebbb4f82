// SHA-256 digests of contents, and the lines in which `sha256sum` prints them.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vaconverter/archive.h"

namespace va {

using Sha256 = std::array<std::byte, 32>;

// Returns the digest of each member's content, in the order of Members(). Throws Error for a member
// that cannot be read or is damaged.
[[nodiscard]] std::vector<Sha256> Digests(const Archive& archive, unsigned threads = 1,
                                          const ProgressFunction& progress = {});

// Returns two lower-case hexadecimal digits a byte, as of a digest.
[[nodiscard]] std::string HexOf(std::span<const std::byte> bytes);

// Returns the line that `sha256sum` prints for a file of that name, with its line feed: names with
// a backslash or a line end are escaped. Other control bytes, which `sha256sum` prints as they are,
// become \x1b: no terminal obeys them, and no extracted file has them.
[[nodiscard]] std::string SumLine(std::string_view name, const Sha256& digest);

// Returns the digest of the whole content: that of the lines of all members, in the byte order of
// their names in UTF-8. Neither order nor storage of the members count. `digests` are those that
// Digests returned.
[[nodiscard]] Sha256 ContentDigest(const Archive& archive, std::span<const Sha256> digests);

// A line of `sha256sum`.
struct Sum {
    std::string name;  // without "./" in front
    Sha256 digest{};
};

// Returns whether `text` begins with a line of `sha256sum`.
[[nodiscard]] bool LooksLikeSums(std::string_view text);

// Reads lines of `sha256sum`, or of SumLine. Throws Error (Refused) naming the line that is none.
[[nodiscard]] std::vector<Sum> ParseSums(std::string_view text);

struct SumMismatch {
    enum class Kind {
        Differs,   // in content
        Missing,   // the archive has no such member
        Unlisted,  // the archive has it, the sums have not
    };
    Kind kind = Kind::Differs;
    std::string name;
};

// Compares the members of an archive or folder with sums, letter case of names ignored. Returns
// what differs: first in the order of the sums, then what is not listed. Throws Error as Digests
// does.
[[nodiscard]] std::vector<SumMismatch> CompareSums(const Archive& archive,
                                                   std::span<const Sum> sums, unsigned threads = 1,
                                                   const ProgressFunction& progress = {});

}  // namespace va
