// Exit codes and failures of the two delta programs.
#pragma once

#include <stdexcept>
#include <string>

#include "delta/Error.h"

namespace delta {

// The exit codes of the programs; --help lists them. The numbers are fixed: callers test for them.
enum class ExitCode : int {
    Success = 0,
    BadUsage = 1,
    CannotRead = 2,
    CannotWrite = 3,
    DamagedDiff = 4,
    WrongOldFile = 5,
    OutOfMemory = 6,
    TooLarge = 7,
};

// A failure outside delta/: a line for standard error and an exit code.
class ProgramError : public std::runtime_error {
public:
    ProgramError(ExitCode code, const std::string& line) : std::runtime_error(line), code_(code) {}

    [[nodiscard]] ExitCode Code() const noexcept { return code_; }

private:
    ExitCode code_;
};

// Returns the exit code for a failure of the diff itself.
constexpr ExitCode ExitCodeOf(ErrorKind kind) {
    switch (kind) {
        case ErrorKind::Damaged:
            return ExitCode::DamagedDiff;
        case ErrorKind::WrongOld:
            return ExitCode::WrongOldFile;
        case ErrorKind::TooLarge:
            return ExitCode::TooLarge;
        case ErrorKind::OutOfMemory:
            break;
    }
    return ExitCode::OutOfMemory;
}

}  // namespace delta
