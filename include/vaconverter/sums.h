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

// Returns the digest of each member's content, in the order of Members(). Throws Error if a member
// is damaged or cannot be read.
[[nodiscard]] std::vector<Sha256> Digests(const Archive& archive, unsigned threads = 1,
                                          const ProgressFunction& progress = {});

// Returns the bytes as lower-case hexadecimal digits, two for each byte.
[[nodiscard]] std::string HexOf(std::span<const std::byte> bytes);

// Returns the line that `sha256sum` prints for a file of that name, with its line feed; names with
// a backslash or a line end are escaped. Other control bytes, which `sha256sum` prints unchanged,
// are shown as \x1b, so that they cannot control a terminal; no extracted file name contains them.
[[nodiscard]] std::string SumLine(std::string_view name, const Sha256& digest);

// Returns the digest of the whole content: the digest of the lines of all members (see SumLine), in
// the byte order of their UTF-8 names. It does not depend on the order or storage of the members.
// `digests` must come from Digests(archive).
[[nodiscard]] Sha256 ContentDigest(const Archive& archive, std::span<const Sha256> digests);

// A line of `sha256sum`.
struct Sum {
    std::string name;  // without "./" in front
    Sha256 digest{};
};

// Returns whether `text` begins with a line of `sha256sum`.
[[nodiscard]] bool LooksLikeSums(std::string_view text);

// Reads lines of `sha256sum` or SumLine. Throws Error (Refused) that names the first invalid line.
[[nodiscard]] std::vector<Sum> ParseSums(std::string_view text);

struct SumMismatch {
    enum class Kind {
        Differs,   // the content differs
        Missing,   // the archive has no such member
        Unlisted,  // the member is not among the sums
    };
    Kind kind = Kind::Differs;
    std::string name;
};

// Compares the members of an archive or folder with sums, ignoring the letter case of names.
// Returns the mismatches: first in the order of the sums, then the unlisted members. Throws Error
// as Digests does.
[[nodiscard]] std::vector<SumMismatch> CompareSums(const Archive& archive,
                                                   std::span<const Sum> sums, unsigned threads = 1,
                                                   const ProgressFunction& progress = {});

}  // namespace va
