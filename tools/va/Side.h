// Operands that are archives, folders, or members of one.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tools/va/Run.h"
#include "vaconverter/archive.h"

namespace va::tool {

// Opens an archive or folder. Warns about files of a folder that cannot be members; the exit code
// is then 1 instead of 0. Throws va::Error.
[[nodiscard]] Archive OpenSide(Run& run, const std::string& operand);

// Does the same for a command that refuses content that cannot be a member: warns only about links
// and devices.
[[nodiscard]] Archive OpenContent(Run& run, const std::string& operand);

// Returns whether members may be missing because the archive was truncated or its index is damaged.
// Warns if so; the command must then end with LookAt.
[[nodiscard]] bool MayLackMembers(Run& run, const Archive& archive);

// Members of an archive that were selected. Where those are all of them, they are not copied: they
// last as long as the archive.
class Selection {
public:
    explicit Selection(std::span<const Member> all) : members_(all) {}
    explicit Selection(std::vector<Member> chosen)
        : chosen_(std::move(chosen)), members_(chosen_) {}
    Selection(Selection&&) noexcept = default;
    Selection& operator=(Selection&&) noexcept = default;
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;
    ~Selection() = default;

    [[nodiscard]] std::span<const Member> Members() const { return members_; }

private:
    std::vector<Member> chosen_;
    std::span<const Member> members_;  // also valid after a move, which leaves the members in place
};

// Returns the members that the operands from `first` on, --files-from and --exclude select; all
// members if no pattern is given. Throws Failure (NotFound) if a pattern matches nothing.
[[nodiscard]] Selection SelectMembers(Run& run, const Archive& archive, std::size_t first);

// Returns where the member begins in a name "archive.va:member", or npos; the first ".va:" counts.
[[nodiscard]] std::size_t MemberStart(const std::string& name);

struct MemberOperand {
    std::string archive;
    std::string member;
};
// Splits an operand ARCHIVE:MEMBER. Throws Failure (Usage) if it names no member.
[[nodiscard]] MemberOperand SplitMemberOperand(const std::string& operand);

// Returns the member that an operand names, in its archive. Throws Failure (NotFound).
[[nodiscard]] Member MemberOf(const Archive& archive, const MemberOperand& operand);

// Reports that one of several inputs cannot be read; the command continues with the next.
void ReportFailed(Run& run, const std::string& input, ExitCode code, const std::string& message);

// Calls `work` for each operand and returns the most serious result. If there are several, one that
// cannot be read is reported and skipped.
[[nodiscard]] ExitCode ForEachOperand(Run& run,
                                      const std::function<ExitCode(const std::string&)>& work);

// Returns a progress function for the library: it shows the progress, and cancels the operation
// when the user asks to stop.
[[nodiscard]] ProgressFunction ProgressOf(Run& run);

}  // namespace va::tool
