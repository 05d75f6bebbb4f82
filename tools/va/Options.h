// Options that several commands share. Each is one object, because options are compared by address.
#pragma once

#include <array>

#include "tools/va/Table.h"

namespace va::tool {

inline constexpr std::array<std::string_view, 4> kProgressChoices = {"auto", "always", "never",
                                                                     "json"};

// Every command takes these.
inline constexpr Option kHelp{
    .name = "help", .letter = 'h', .meaning = "show how the command is used"};
inline constexpr Option kVersion{.name = "version",
                                 .meaning = "show the version; with -q the bare number"};
inline constexpr Option kQuiet{
    .name = "quiet",
    .letter = 'q',
    .meaning = "no summaries and notes; -qq: no warnings and errors either",
    .repeats = true};
inline constexpr Option kVerbose{
    .name = "verbose",
    .letter = 'v',
    .meaning = "a line for each member, if the answer itself has none"};
inline constexpr Option kProgress{
    .name = "progress",
    .value = "WHEN",
    .meaning = "show progress on standard error: auto (on a terminal), always, never, or json",
    .choices = kProgressChoices,
    .completes = Completes::Choices};

inline constexpr Option kForce{.name = "force", .letter = 'f', .meaning = "replace existing files"};
inline constexpr Option kDryRun{
    .name = "dry-run", .letter = 'n', .meaning = "check and report everything, write nothing"};
inline constexpr Option kJson{.name = "json", .meaning = "answer in JSON Lines on standard output"};
inline constexpr Option kOutput{.name = "output",
                                .letter = 'o',
                                .value = "FILE",
                                .meaning = "the file to write",
                                .completes = Completes::Files};
inline constexpr Option kJobs{
    .name = "jobs",
    .letter = 'j',
    .value = "N",
    .meaning = "worker threads; the result does not depend on it (default: the processors)"};
inline constexpr Option kMemoryLimit{
    .name = "memory-limit",
    .value = "BYTES",
    .meaning = "largest memory to use, such as 512M; a low limit gives slower or larger results"};
inline constexpr Option kExclude{.name = "exclude",
                                 .value = "PATTERN",
                                 .meaning = "skip the members that match",
                                 .repeats = true,
                                 .completes = Completes::Members};
inline constexpr Option kFilesFrom{
    .name = "files-from",
    .value = "FILE",
    .meaning = "read further patterns from FILE, one a line; with -0 each ends in a zero byte",
    .completes = Completes::Files};
inline constexpr Option kZero{.name = "null",
                              .letter = '0',
                              .meaning = "names as they are stored, each ended by a zero byte"};

}  // namespace va::tool
