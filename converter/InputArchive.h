// Checking the archives that a command line names. They are mounted read-only: nothing is ever
// written into an input, and none is created.
#pragma once

#include <string>
#include <string_view>

// Whether a path is short enough for the kernel.
[[nodiscard]] bool FitsPath(std::string_view path);

// The line for an archive that is not usable.
[[nodiscard]] std::string InvalidInputArchive(std::string_view path);
