// The SHA-256 message digest (FIPS 180-4), by which a manifest distinguishes contents.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace patch {

using Sha256Digest = std::array<std::byte, 32>;

// Digests bytes that come in pieces. Uses the processor's SHA instructions where there are any.
class Sha256 {
public:
    Sha256();

    void Update(std::span<const std::byte> bytes);
    void Update(std::string_view text) { Update(std::as_bytes(std::span(text))); }

    // Returns the digest of the bytes so far and starts again.
    [[nodiscard]] Sha256Digest Finish();

private:
    // Holds the state of the library underneath, whose headers stay out of ours.
    alignas(std::uint64_t) std::array<std::byte, 112> state_;
};

[[nodiscard]] Sha256Digest Sha256Of(std::span<const std::byte> bytes);
[[nodiscard]] inline Sha256Digest Sha256Of(std::string_view text) {
    return Sha256Of(std::as_bytes(std::span(text)));
}

// Returns two lower-case hexadecimal digits a byte.
[[nodiscard]] std::string ToHex(std::span<const std::byte> bytes);

// Reads 64 hexadecimal digits, lower case only; nullopt for anything else.
[[nodiscard]] std::optional<Sha256Digest> Sha256FromHex(std::string_view text);

}  // namespace patch
