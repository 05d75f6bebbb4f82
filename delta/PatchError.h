#pragma once

#include <stdexcept>
#include <string>

namespace vdiff {

// What the programs exit with; --help lists them.
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

// The one exception of this folder: a line for standard error and the exit code that goes with it.
class PatchError : public std::runtime_error {
public:
    PatchError(ExitCode code, const std::string& line) : std::runtime_error(line), code_(code) {}

    [[nodiscard]] ExitCode Code() const noexcept { return code_; }

private:
    ExitCode code_;
};

[[noreturn]] inline void ThrowDamaged(const char* what) {
    throw PatchError(ExitCode::DamagedDiff, std::string("the diff is damaged: ") + what);
}

}  // namespace vdiff
