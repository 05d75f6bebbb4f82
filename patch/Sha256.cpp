#include "patch/Sha256.h"

#include <nettle/sha2.h>

#include <new>

namespace patch {
namespace {

static_assert(SHA256_DIGEST_SIZE == std::tuple_size_v<Sha256Digest>);

constexpr std::string_view kDigits = "0123456789abcdef";

// The context was created in these bytes by the constructor, or copied with them.
sha256_ctx* ContextIn(std::byte* state) {
    return std::launder(reinterpret_cast<sha256_ctx*>(state));
}

}  // namespace

Sha256::Sha256() {
    static_assert(sizeof(sha256_ctx) <= sizeof(state_) && alignof(sha256_ctx) <= alignof(Sha256));
    sha256_init(new (state_.data()) sha256_ctx);
}

void Sha256::Update(std::span<const std::byte> bytes) {
    sha256_update(ContextIn(state_.data()), bytes.size(),
                  reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

Sha256Digest Sha256::Finish() {
    Sha256Digest digest;
    sha256_digest(ContextIn(state_.data()), digest.size(),
                  reinterpret_cast<std::uint8_t*>(digest.data()));
    return digest;
}

Sha256Digest Sha256Of(std::span<const std::byte> bytes) {
    Sha256 digest;
    digest.Update(bytes);
    return digest.Finish();
}

std::string ToHex(std::span<const std::byte> bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::byte byte : bytes) {
        text += kDigits[std::to_integer<std::size_t>(byte >> 4)];
        text += kDigits[std::to_integer<std::size_t>(byte & std::byte{15})];
    }
    return text;
}

std::optional<Sha256Digest> Sha256FromHex(std::string_view text) {
    Sha256Digest digest;
    if (text.size() != 2 * digest.size()) return std::nullopt;
    // Lower case only: a manifest has one spelling for everything, so that equal ones are equal
    // bytes.
    for (std::size_t i = 0; i < digest.size(); ++i) {
        const std::size_t high = kDigits.find(text[2 * i]);
        const std::size_t low = kDigits.find(text[2 * i + 1]);
        if (high == std::string_view::npos || low == std::string_view::npos) return std::nullopt;
        digest[i] = static_cast<std::byte>(high << 4 | low);
    }
    return digest;
}

}  // namespace patch
