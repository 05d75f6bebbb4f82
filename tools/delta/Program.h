// The common part of the diff program and the patch program: operands, --help, exit codes.
#pragma once

#include <string>

namespace delta {

// The differences between the two programs.
struct Program {
    const char* name;
    const char* operands;  // as in "OLD NEW OUT"
    const char* purpose;   // a sentence for --help
    const char* faultLine;
    void (*action)(const std::string& oldPath, const std::string& otherPath,
                   const std::string& outPath);
};

// Runs `program` and returns its exit code. A failure prints one line on standard error.
int RunProgram(const Program& program, int argc, char** argv);

}  // namespace delta
