// Errors of making and applying diffs.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace delta {

enum class ErrorKind : std::uint8_t {
    Damaged,      // not a diff, or changed since it was made
    WrongOld,     // the diff was made from other old content
    TooLarge,     // 4 GiB or more, or more than the caller's limit
    OutOfMemory,  // memory ran out, or the caller's limit is below the size of the result
};

// The only exception of this folder. what() is one line without a file name, because contents in
// memory have none; callers add it.
class Error : public std::runtime_error {
public:
    Error(ErrorKind kind, const std::string& line) : std::runtime_error(line), kind_(kind) {}

    [[nodiscard]] ErrorKind Kind() const noexcept { return kind_; }

private:
    ErrorKind kind_;
};

[[noreturn]] inline void ThrowDamaged(const char* what) {
    throw Error(ErrorKind::Damaged, std::string("the diff is damaged: ") + what);
}

}  // namespace delta
