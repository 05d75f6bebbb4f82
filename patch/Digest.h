// The digest of a content as a patch records it: SHA-256 in a manifest, MD5 in the lists.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "patch/MD5.h"
#include "patch/Sha256.h"

namespace patch {

enum class DigestKind { Md5, Sha256 };

// The first 16 bytes of it are the digest if it is an MD5, and the others are zero.
using Digest = Sha256Digest;

// Reads the 32 digits of a list; nullopt for anything else, which is the digest of no content.
[[nodiscard]] std::optional<Digest> Md5FromHex(std::string_view text);

class Digester {
public:
    explicit Digester(DigestKind kind) : kind_(kind) {}

    void Update(std::span<const std::byte> bytes) {
        kind_ == DigestKind::Md5 ? md5_.update(bytes.data(), bytes.size()) : sha256_.Update(bytes);
    }
    // Returns the digest of the bytes so far and starts again.
    [[nodiscard]] Digest Finish();

private:
    DigestKind kind_;
    MD5 md5_;
    Sha256 sha256_;
};

[[nodiscard]] Digest DigestOf(DigestKind kind, std::span<const std::byte> bytes);

}  // namespace patch
