#include "converter/FileDigest.h"

#include <cstdio>

#include "converter/MD5.h"

Vorn::InternedString FileDigest(const char* path) {
    std::FILE* file = std::fopen(path, "rb");
    if (file == nullptr) return {};
    const MD5 digest(file);
    if (digest.ReadFailed()) return {};
    return Vorn::Intern(digest.hex_digest().get());
}
