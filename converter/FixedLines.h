// The lines of standard output. Fixed to the byte: scripts and other programs read them, so better
// words go to standard error instead.
#pragma once

#include <string_view>

namespace converter::line {

// Calls.
inline constexpr std::string_view kUsage = "// TODO.Alden: Print usage";
inline constexpr std::string_view kMoreUsage = "// TODO.Alden: Print more usage";
inline constexpr std::string_view kInvalidOperation = "Invalid patch converter operation";
inline constexpr std::string_view kNoInputArchive = "Failed to find input archive ";
inline constexpr std::string_view kInvalidInputArchive = "Invalid input archive ";
inline constexpr std::string_view kNoSearch = "Unable to open search path ";

// patchdiff, each before a member's name.
inline constexpr std::string_view kIdentical = "Identical ";
inline constexpr std::string_view kDiffed = "Diffed ";
inline constexpr std::string_view kAdded = "Added ";
inline constexpr std::string_view kRemoved = "Removed ";  // patchapply as well

// patchapply, each before a member's name.
inline constexpr std::string_view kUnchanged = "Unchanged ";
inline constexpr std::string_view kPatched = "Patched ";

// Failures.
inline constexpr std::string_view kCannotAdd = "ERROR> Failed to add ";
inline constexpr std::string_view kCannotAddListed = "Failed to add ";
inline constexpr std::string_view kCannotAddUnchanged = "ERROR> Failed to add unchanged file ";
inline constexpr std::string_view kCannotAddPatched = "ERROR> Failed to add patched file ";
inline constexpr std::string_view kNoMemberName = ">>>> OPEN ERROR - No File!";
inline constexpr std::string_view kOpenError = ">>>> OPEN ERROR ";
inline constexpr std::string_view kDigestError = ">>>> MD5 ERROR ";
inline constexpr std::string_view kPatchError = ">>>> PATCH ERROR ";
inline constexpr std::string_view kExitCode = ">>>> EXIT CODE:  ";

}  // namespace converter::line
