// The working files, through which the converter and the diff and patch programs exchange content.
//
// Their names are fixed, and so is their place: the program folder. Runs that share it wait for
// each other. If the program folder cannot be written (an installed copy, another user's), a run
// uses a private folder for temporary files, which it deletes at the end, and waits for no other.
//
// A run that is stopped deletes its working files, those of its programs included.
//
// A working file is always created anew, so that a link under its name is not followed.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "platform/PathLock.h"

namespace converter {

// Fixed.
inline constexpr const char* kSourceFile = "srcFile";
inline constexpr const char* kTargetFile = "dstFile";
inline constexpr const char* kDiffFile = "difFile";
inline constexpr const char* kOutFile = "outFile";

class WorkFiles {
public:
    WorkFiles() = default;
    WorkFiles(const WorkFiles&) = delete;
    WorkFiles& operator=(const WorkFiles&) = delete;
    ~WorkFiles();

    // Chooses the folder, waits until no other run uses it, and deletes what a killed run left.
    // False, after a line on standard error, if there is none.
    [[nodiscard]] bool Open(std::string_view programDir);

    [[nodiscard]] std::string Path(const char* name) const;

    // Writes a working file, replacing an earlier one. False, after a line on standard error, if it
    // is not whole.
    [[nodiscard]] bool Write(const char* name, std::span<const std::byte> content) const;
    void Delete(std::initializer_list<const char*> names) const;

private:
    // Deletes the working files, and temporary files of programs that were killed.
    void Clear() const;

    std::string folder_;
    bool private_ = false;
    bool isLocked_ = false;
    platform::PathLock lock_;  // of a folder that is not private
};

}  // namespace converter
