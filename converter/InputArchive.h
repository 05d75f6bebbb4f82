// Checking the archives that a command line names. They are mounted read-only: nothing is ever
// written into an input, and none is created.
#pragma once

#include <string>
#include <string_view>

#include "kernel/InternedString.h"

// Whether a path is short enough for the kernel.
[[nodiscard]] bool FitsPath(std::string_view path);

// Whether what is mounted under a name could be opened and read as an archive.
[[nodiscard]] bool HoldsArchive(const Vorn::InternedString& mount);

// The line for an archive that is not usable.
[[nodiscard]] std::string InvalidInputArchive(std::string_view path);
