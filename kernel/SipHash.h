// SipHash-1-3, a keyed hash for tables whose keys come from files: without the key, nothing is
// known about which names collide. Source: Aumasson and Bernstein, "SipHash: a fast short-input
// PRF".
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace Vorn {

using SipHashKey = std::array<std::uint64_t, 2>;

// Returns a new random key.
[[nodiscard]] SipHashKey RandomSipHashKey();

[[nodiscard]] std::uint64_t SipHash13(const SipHashKey& key, std::string_view text) noexcept;

}  // namespace Vorn
