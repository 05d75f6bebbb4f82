// How a run of va ends.
#pragma once

#include <string>

namespace va {

// The numbers are the program's exit codes.
enum class ExitCode : int {
    Done = 0,
    DoneWithWarnings = 1,
    Refused = 2,  // what was read is damaged, or what was asked for was not done
    Usage = 7,
    NotFound = 9,
};

// Thrown to end a command that cannot go on; the message is for a person, and tells what to do next
// where that is not plain.
struct Failure {
    ExitCode code;
    std::string message;
};

[[noreturn]] void Refuse(const std::string& message);

// Why the system refused what was asked of it last.
[[nodiscard]] std::string SystemReason();

}  // namespace va
