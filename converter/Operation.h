// What patchdiff and patchapply are to the converter that runs one of them.
#pragma once

#include <functional>
#include <string>

#include "converter/InputArchive.h"

namespace converter {

// The archives of a run, mounted, and the program's folder without a trailing separator.
struct Inputs {
    std::string programDir;
    InputArchive old;
    InputArchive other;  // the new archive, or the patch
};

// What only the converter can do with the old archive.
struct OldArchive {
    std::function<bool()> walk;  // hands all of it to EnterFolder and ProcessMember
    std::function<void()> close;
};

class Operation {
public:
    Operation() = default;
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;
    virtual ~Operation() = default;

    // Each returns false after a line if the operation cannot continue. What the kernel throws goes
    // to the converter.
    [[nodiscard]] virtual bool Prepare() = 0;
    [[nodiscard]] virtual bool Run(const OldArchive& old) = 0;
    // For a folder of the old archive, before what is in it.
    [[nodiscard]] virtual bool EnterFolder(const char* folder) = 0;
    // For a member of the old archive.
    [[nodiscard]] virtual bool ProcessMember(const char* member) = 0;
};

}  // namespace converter
