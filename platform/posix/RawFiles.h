// File access by bare system calls, for code that may run in a thread that has faulted: nothing
// here allocates or locks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace platform::posix {

// Writes all of `bytes`; false if a write fails.
[[nodiscard]] bool WriteAll(int descriptor, std::span<const std::byte> bytes) noexcept;

// Reads as much of the file as fits `buffer` and returns it; empty if it cannot be read.
[[nodiscard]] std::string_view ReadText(const char* path, std::span<char> buffer) noexcept;

// Returns the number after `label` at the beginning of a line of `text`; 0 if there is none.
[[nodiscard]] std::uint64_t NumberAfter(std::string_view text, std::string_view label) noexcept;

}  // namespace platform::posix
