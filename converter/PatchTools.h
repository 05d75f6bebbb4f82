// The external programs that make and apply the binary diff of one file.
//
// Both are started without a shell, share this process's console, environment and current
// directory, and are waited for without a time limit. Their paths have '/' between components,
// which every such program knows. The diff data is opaque to the converter.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace converter {

// Deletes what an earlier run left at the path of a program's output, so that it is not mistaken
// for the output if the program writes none. False, after a line on standard error, if it stays.
[[nodiscard]] bool DeleteEarlierOutput(const std::string& path);

// Returns whether a file is what a diff program that was killed leaves beside its output.
[[nodiscard]] bool IsDiffProgramTemporary(std::string_view fileName);

// Returns whether a path can be put in double quotes on a command line.
[[nodiscard]] bool FitsCommandLine(std::string_view path);

// Runs the diff program, found two folders above `programDir`; its exit code is not looked at.
// False, after a line, if it cannot be started.
[[nodiscard]] bool RunDiffProgram(std::string_view programDir, std::string_view oldFile,
                                  std::string_view newFile, std::string_view diffFile);

// Runs the patch program in `programDir` and sets its exit code. False, after a line, if it cannot
// be started.
[[nodiscard]] bool RunPatchProgram(std::string_view programDir, std::string_view oldFile,
                                   std::string_view diffFile, std::string_view outFile,
                                   std::uint32_t& exitCode);

}  // namespace converter
