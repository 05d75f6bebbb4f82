// The MD5 digest of a file of the file system. A fixed operation for hosts: the converter digests
// members as it reads them.
#pragma once

#include "kernel/InternedString.h"

namespace converter {

// Returns 32 lower-case hexadecimal digits of the file at `path`; the null handle if it cannot be
// opened or read. Equal digests are the same interned string.
[[nodiscard]] Vorn::InternedString FileDigest(const char* path);

}  // namespace converter
