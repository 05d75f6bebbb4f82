#pragma once

#include <string>

namespace delta {

// What sets one of the two programs apart.
struct Program {
    const char* name;
    const char* operands;  // as in "OLD NEW OUT"
    const char* purpose;   // a sentence for --help
    const char* faultLine;
    void (*action)(const std::string& oldPath, const std::string& otherPath,
                   const std::string& outPath);
};

// The main function of `program`: its exit code. Failures are one line on standard error.
int RunProgram(const Program& program, int argc, char** argv);

}  // namespace delta
