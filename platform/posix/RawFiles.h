// Files by nothing but system calls: for code that may run in a thread that has faulted, where
// nothing may be allocated and no lock may be taken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace platform::posix {

// Writes all of `bytes`; false when the system takes no more.
[[nodiscard]] bool WriteAll(int descriptor, std::span<const std::byte> bytes) noexcept;

// The file's text, as much of it as fits into `buffer`; empty when it cannot be read.
[[nodiscard]] std::string_view ReadText(const char* path, std::span<char> buffer) noexcept;

// The number that follows `label` at the beginning of a line of `text`; 0 when there is none.
[[nodiscard]] std::uint64_t NumberAfter(std::string_view text, std::string_view label) noexcept;

}  // namespace platform::posix
