// How a run of va ends.
#pragma once

#include <string>

namespace va::tool {

// The numbers are the program's exit codes and never change.
enum class ExitCode : int {
    Done = 0,      // done; equal; whole
    LookAt = 1,    // done with something to look at; or: they differ
    Refused = 2,   // damaged, refused, or not done
    Usage = 7,     // wrong usage
    NoMemory = 8,  // not enough memory
    NotFound = 9,  // no such file, archive, member or tag
    DiskFull = 50,
};

// Returns the graver result of two inputs: refused, not found, something to look at, done.
[[nodiscard]] ExitCode Graver(ExitCode a, ExitCode b);

// Thrown to end a command; the message is for a person: the thing, the reason, what to do next.
struct Failure {
    ExitCode code;
    std::string message;
};

// Throws Failure with ExitCode::Refused.
[[noreturn]] void Refuse(const std::string& message);

}  // namespace va::tool
