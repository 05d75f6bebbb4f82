// Why an operation of the layer failed.
//
// Operations report failure by their results (false, null, -1, fewer bytes than asked for). The
// reason is LastError, in words that hold on every system.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

enum class ErrorKind : std::uint8_t {
    None,      // nothing failed
    NotFound,  // the file, or a folder on the way to it, does not exist
    Exists,    // the name is in use; a directory to be removed is not empty
    Busy,      // another opener's share mode or lock does not agree
    Denied,    // no permission, a read-only file, or a folder where a file is needed
    NoSpace,   // the device, or the user's share of it, is full
    TooLarge,  // more bytes than the file system or the process's limit allows in one file
    Other,
};

struct Error {
    ErrorKind kind = ErrorKind::None;
    int number = 0;  // the system's own number, for reports

    // Returns the reason for people, in the system's words and without the name of the file.
    [[nodiscard]] std::string Message() const;
};

// Returns why the operation of the layer that failed last on this thread did so. Call it before the
// next operation: those that succeed may change it, too.
[[nodiscard]] Error LastError();

}  // namespace platform
