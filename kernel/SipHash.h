// SipHash-1-3: a keyed hash whose collisions cannot be prepared without the key, for tables whose
// keys come from files. Public source: Aumasson and Bernstein, "SipHash: a fast short-input PRF".
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace Vorn {

using SipHashKey = std::array<std::uint64_t, 2>;

// A key for this run of the program.
[[nodiscard]] SipHashKey RandomSipHashKey();

[[nodiscard]] std::uint64_t SipHash13(const SipHashKey& key, std::string_view text) noexcept;

}  // namespace Vorn
