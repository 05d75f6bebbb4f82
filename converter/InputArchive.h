// The archives that a command line names. They are mounted read-only: nothing is ever written into
// an input, and none is created.
#pragma once

#include <string>
#include <string_view>

#include "kernel/InternedString.h"

namespace converter {

// One of them, as an operation uses it.
struct InputArchive {
    Vorn::InternedString mount;
    std::string path;  // as given
};

// Returns whether a path is short enough for the kernel.
[[nodiscard]] bool FitsPath(std::string_view path);

enum class InputKind { Archive, NoArchive, Unreadable };
// Returns what the mounted file is.
[[nodiscard]] InputKind KindOf(const InputArchive& input);

// Returns whether a member can be opened by its name. Reads nothing of it.
[[nodiscard]] bool Holds(const InputArchive& input, const char* member);

}  // namespace converter
