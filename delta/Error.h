#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace delta {

enum class ErrorKind : std::uint8_t {
    Damaged,      // the diff is no diff, or not as it was made
    WrongOld,     // the diff was made from other old content
    TooLarge,     // 4 GiB or more, or more than the caller's limit
    OutOfMemory,  // memory ran out, or the caller's limit does not even allow the result
};

// The one exception of this folder. what() is one line without the name of a file.
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
