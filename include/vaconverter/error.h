// The exception of the library.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace va {

// Why an operation failed. The numbers are the exit codes of the program `va`.
enum class ErrorCode : int {
    Refused = 2,    // damaged, refused, cancelled, or not done
    Usage = 7,      // an invalid parameter
    NoMemory = 8,   // more memory is needed than is available or allowed
    NotFound = 9,   // no such file, archive or member
    DiskFull = 50,  // no space, or a size limit; found before the work where that is possible
};

// what() is one line for people in UTF-8, without a line feed: the thing, the reason, and what to
// do next. The operations of the library throw only this and std::bad_alloc. An operation that
// threw has changed nothing: a result appears complete or not at all.
class Error : public std::runtime_error {
public:
    Error(ErrorCode code, const std::string& message, std::filesystem::path path = {},
          std::string member = {}, std::optional<std::uint64_t> offset = {});

    [[nodiscard]] ErrorCode code() const noexcept { return code_; }

    // Return the location of the error, if it is known: the file, the name of the member in UTF-8,
    // and the offset in the file in bytes.
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
