// The MD5 digest of a file as the converter compares it.
#pragma once

#include "kernel/InternedString.h"

// 32 lower-case hexadecimal digits of the file at a path of the file system; the null handle when
// it cannot be opened or read. Equal digests are the same interned string.
[[nodiscard]] Vorn::InternedString FileDigest(const char* path);
