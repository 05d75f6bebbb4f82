// The one exception of the library.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace va {

// Why something was not done. The numbers are the exit codes of the program `va`.
enum class ErrorCode : int {
    Refused = 2,    // damaged, refused, cancelled, or not done
    Usage = 7,      // a parameter makes no sense
    NoMemory = 8,   // more memory would be needed than is there or allowed
    NotFound = 9,   // no such file, archive or member
    DiskFull = 50,  // no space, or a limit on sizes; found before the work where that is possible
};

// what() is one line for a person in UTF-8: the thing, the reason, and what to do next; without a
// line feed. Every operation of the library throws this and std::bad_alloc, nothing else. An
// operation that threw has changed nothing: results appear whole or not at all.
class Error : public std::runtime_error {
public:
    Error(ErrorCode code, const std::string& message, std::filesystem::path path = {},
          std::string member = {}, std::optional<std::uint64_t> offset = {});

    [[nodiscard]] ErrorCode code() const noexcept { return code_; }

    // Where it happened, as far as that is known: the file, the member in it (its name in UTF-8),
    // the offset in bytes in the file.
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    [[nodiscard]] const std::string& member() const noexcept { return member_; }
    [[nodiscard]] std::optional<std::uint64_t> offset() const noexcept { return offset_; }

private:
    ErrorCode code_;
    std::filesystem::path path_;
    std::string member_;
    std::optional<std::uint64_t> offset_;
};

}  // namespace va
