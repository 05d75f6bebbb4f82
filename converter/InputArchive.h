// Checking and mounting the archives that a command line names.
#pragma once

#include <string>
#include <string_view>

#include "kernel/InternedString.h"

// Whether a path is short enough for the kernel.
[[nodiscard]] bool FitsPath(std::string_view path);

// The line for an archive that is not usable.
[[nodiscard]] std::string InvalidInputArchive(std::string_view path);

// Mounts an input archive writable, as the operations expect; one that may only be read (a
// write-protected file or disk) is mounted read-only, for nothing is ever written into an input.
void MountInput(const Vorn::InternedString& name, const char* path);
