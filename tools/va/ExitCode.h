// The exit codes of va, and the exception that ends a command.
#pragma once

#include <string>

namespace va::tool {

// The numbers are fixed: scripts test for them.
enum class ExitCode : int {
    Done = 0,      // done; equal; whole
    LookAt = 1,    // done, with a warning; or: the inputs differ
    Refused = 2,   // damaged, refused, or not done
    Usage = 7,     // wrong usage
    NoMemory = 8,  // not enough memory
    NotFound = 9,  // no such file, archive, member or tag
    DiskFull = 50,
};

// Returns the more serious result of two inputs, in the order Refused, NotFound, LookAt, Done.
[[nodiscard]] ExitCode Graver(ExitCode a, ExitCode b);

// Thrown to end a command. The message is for people: the thing, the reason, what to do next.
struct Failure {
    ExitCode code;
    std::string message;
};

// Throws Failure with ExitCode::Refused.
[[noreturn]] void Refuse(const std::string& message);

}  // namespace va::tool
