// Operands that are archives, folders, or members of one.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/va/Run.h"
#include "vaconverter/archive.h"

namespace va::tool {

// Opens an archive or folder. Warns about files of a folder that are no members; the exit code is
// then 1 unless the command gives another one. Throws va::Error.
[[nodiscard]] Archive OpenSide(Run& run, const std::string& operand);

// The same for a command that refuses files and folders that are no members: it warns about the
// rest of them only.
[[nodiscard]] Archive OpenContent(Run& run, const std::string& operand);

// Returns whether members may be missing because the archive was cut or its index is damaged. Warns
// then, and the exit code is 1.
[[nodiscard]] bool MayLackMembers(Run& run, const Archive& archive);

// Returns the members that the operands from `first` on, --files-from and --exclude select; all of
// them without a pattern. Throws Failure (NotFound) for patterns that match nothing.
[[nodiscard]] std::vector<Member> SelectMembers(Run& run, const Archive& archive,
                                                std::size_t first);

// Where the member's part of a name "archive.va:member" begins, or npos; the first ending counts.
[[nodiscard]] std::size_t MemberStart(const std::string& name);

// An operand ARCHIVE:MEMBER in its two parts. Throws Failure (Usage) when there is no member part.
struct MemberOperand {
    std::string archive;
    std::string member;
};
[[nodiscard]] MemberOperand SplitMemberOperand(const std::string& operand);

// Returns the member that an operand names, in its archive. Throws Failure (NotFound).
[[nodiscard]] Member MemberOf(const Archive& archive, const MemberOperand& operand);

// Says that one of several inputs cannot be read; the command continues with the next.
void TellFailed(Run& run, const std::string& input, ExitCode code, const std::string& message);

// Calls `work` for each operand and returns the gravest result. Of several, one that cannot be read
// is said and skipped.
[[nodiscard]] ExitCode ForEachOperand(Run& run,
                                      const std::function<ExitCode(const std::string&)>& work);

// Returns a function for the library's work that shows the progress, and stops the work when the
// user asks.
[[nodiscard]] ProgressFunction ProgressOf(Run& run);

}  // namespace va::tool
