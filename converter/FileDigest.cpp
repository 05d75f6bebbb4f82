#include "converter/FileDigest.h"

#include <array>

#include "patch/MD5.h"
#include "platform/Files.h"

namespace converter {

namespace {

constexpr std::size_t kReadBytes = 16384;

// False when the file cannot be read to its end.
[[nodiscard]] bool AddContent(patch::MD5& digest, platform::FileHandle& file) {
    std::array<std::byte, kReadBytes> piece;
    std::int64_t count = 0;
    do {
        count = file.Read(piece);
        if (count > 0) digest.update(piece.data(), static_cast<std::size_t>(count));
    } while (count == static_cast<std::int64_t>(piece.size()));
    // A short read may hide an error that only the next one reports.
    return count == 0 || (count > 0 && file.Read(piece) == 0);
}

}  // namespace

Vorn::InternedString FileDigest(const char* path) {
    using namespace platform;
    FileHandle file;
    if (!file.Open(path, Access::Read, Creation::OpenExisting, Share::DenyNone)) return {};
    patch::MD5 digest;
    if (!AddContent(digest, file)) return {};
    digest.finalize();
    return Vorn::Intern(digest.hex_digest().get());
}

}  // namespace converter
