// MD5 digests as the patch lists hold them: 32 lower-case hexadecimal digits.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "kernel/InternedString.h"

// Returns the digest of a content in memory.
[[nodiscard]] std::string ContentDigest(std::span<const std::byte> content);

// Returns the digest of the file at a path of the file system; the null handle if it cannot be
// opened or read. Equal digests are the same interned string.
[[nodiscard]] Vorn::InternedString FileDigest(const char* path);
