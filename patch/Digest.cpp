#include "patch/Digest.h"

#include <string>

namespace patch {

std::optional<Digest> Md5FromHex(std::string_view text) {
    constexpr std::size_t kDigits = 32;
    if (text.size() != kDigits) return std::nullopt;
    return Sha256FromHex(std::string(text) + std::string(kDigits, '0'));
}

Digest Digester::Finish() {
    if (kind_ == DigestKind::Sha256) return sha256_.Finish();
    md5_.finalize();
    const Digest digest = *Md5FromHex(md5_.hex_digest().get());
    md5_ = {};
    return digest;
}

Digest DigestOf(DigestKind kind, std::span<const std::byte> bytes) {
    Digester digester(kind);
    digester.Update(bytes);
    return digester.Finish();
}

}  // namespace patch
