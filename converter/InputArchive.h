// Checking the archives that a command line names. They are mounted read-only: nothing is ever
// written into an input, and none is created.
#pragma once

#include <string>
#include <string_view>

#include "kernel/InternedString.h"

// Whether a path is short enough for the kernel.
[[nodiscard]] bool FitsPath(std::string_view path);

// What the file is that was mounted under a name.
enum class InputKind { Archive, NoArchive, Unreadable };
[[nodiscard]] InputKind KindOf(const Vorn::InternedString& mount);

// The line for an archive that is not usable.
[[nodiscard]] std::string InvalidInputArchive(std::string_view path);
