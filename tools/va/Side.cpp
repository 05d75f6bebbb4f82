#include "tools/va/Side.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <utility>

#include "platform/Interruption.h"
#include "tools/va/ShownText.h"

namespace va::tool {
namespace {

// Returns the patterns in a file or on standard input, each terminated by `end`: a line feed or,
// with -0, a zero byte.
std::vector<std::string> ReadPatterns(const std::string& path, char end) {
    std::ifstream file;
    if (path != "-") {
        file.open(path, std::ios::binary);
        if (!file) {
            throw Failure{ExitCode::NotFound, "cannot read '" + Shown(path) +
                                                  "'; --files-from names a file of patterns"};
        }
    }
    std::istream& in = path == "-" ? std::cin : file;
    std::vector<std::string> patterns;
    for (std::string line; std::getline(in, line, end);) {
        if (end == '\n' && line.ends_with('\r')) line.pop_back();
        if (!line.empty()) patterns.push_back(line);
    }
    return patterns;
}

void ReportSkipped(Run& run, const std::string& folder, const std::vector<LeftOut>& skipped) {
    constexpr std::size_t kMostNamed = 10;
    if (!skipped.empty()) run.AskForALook();
    for (std::size_t i = 0; i < skipped.size(); ++i) {
        const std::string path = (std::filesystem::path(folder) / skipped[i].name).string();
        if (run.answer.IsJson()) {
            run.answer.Write(
                JsonObject("skipped").SetText("file", path).Set("reason", skipped[i].reason));
        }
        if (i < kMostNamed) {
            run.talk.Warning(Shown(path) + " " + skipped[i].reason + "; skipped");
        }
    }
    if (skipped.size() > kMostNamed) {
        run.talk.Warning(Shown(folder) + ": " + GroupedDigits(skipped.size() - kMostNamed) +
                         " more files skipped");
    }
}

// Notes names that are stored in UTF-8: VArchive stores the system's bytes, but the format defines
// names in code page 1252. A 1252 name that happens to be valid UTF-8 is rare, so this is only a
// note.
void NoteUtf8Names(Run& run, const Archive& archive) {
    if (archive.Info().isFolder) return;
    std::uint64_t count = 0;
    const Member* first = nullptr;
    for (const Member& member : archive.Members()) {
        const std::string& stored = member.StoredName();
        const bool isAscii = std::ranges::none_of(stored, [](char c) { return (c & 0x80) != 0; });
        if (isAscii || !IsUtf8(stored)) continue;
        if (!first) first = &member;
        ++count;
    }
    if (!first) return;
    run.talk.Note(Shown(archive.Path().string()) + ": " + Counted(count, "name") +
                  " stored in UTF-8, as VArchive does, such as '" + Shown(first->Name()) +
                  "' for '" + Shown(first->StoredName()) +
                  "'; unpack with VArchive and pack with 'va create' to correct them");
}

}  // namespace

Archive OpenSide(Run& run, const std::string& operand) {
    Archive side{std::filesystem::path(operand)};
    ReportSkipped(run, operand, {side.Skipped().begin(), side.Skipped().end()});
    NoteUtf8Names(run, side);
    return side;
}

Archive OpenContent(Run& run, const std::string& operand) {
    Archive side{std::filesystem::path(operand)};
    std::vector<LeftOut> skipped;
    std::ranges::copy_if(side.Skipped(), std::back_inserter(skipped),
                         [](const LeftOut& file) { return !file.isContent; });
    ReportSkipped(run, operand, skipped);
    return side;
}

bool MayLackMembers(Run& run, const Archive& archive) {
    const IndexState index = archive.Info().index;
    // Absent is regular: the format allows archives without an index.
    if (index == IndexState::Whole || index == IndexState::Absent) return false;
    run.talk.Warning(
        Shown(archive.Path().string()) +
        ": its index is missing or damaged, so members may be missing; run 'va test' for details");
    return true;
}

Selection SelectMembers(Run& run, const Archive& archive, std::size_t first) {
    std::vector<std::string> patterns(run.Operands().begin() + static_cast<std::ptrdiff_t>(std::min(
                                                                   first, run.Operands().size())),
                                      run.Operands().end());
    const std::optional<std::string> from = run.Value(kFilesFrom);
    if (from) {
        std::ranges::copy(ReadPatterns(*from, run.Has(kZero) ? '\0' : '\n'),
                          std::back_inserter(patterns));
    }
    const std::vector<std::string> excluded = run.Values(kExclude);
    if (patterns.empty() && !from && excluded.empty()) return Selection(archive.Members());

    // An empty --files-from selects nothing, but no pattern at all selects everything.
    std::vector<char> matched(patterns.size(), 0);
    std::vector<Member> members;
    for (const Member& member : archive.Members()) {
        bool wanted = patterns.empty() && !from;
        for (std::size_t i = 0; i < patterns.size(); ++i) {
            if (!MatchesPattern(member.Name(), patterns[i])) continue;
            wanted = true;
            matched[i] = 1;
        }
        const auto excludes = [&](const std::string& pattern) {
            return MatchesPattern(member.Name(), pattern);
        };
        if (wanted && std::ranges::none_of(excluded, excludes)) members.push_back(member);
    }
    const auto missed = std::ranges::find(matched, 0);
    if (missed != matched.end()) {
        const std::string& pattern = patterns[static_cast<std::size_t>(missed - matched.begin())];
        throw Failure{ExitCode::NotFound, "nothing in '" + Shown(archive.Path().string()) +
                                              "' matches '" + Shown(pattern) +
                                              "'; run 'va list' to see its members"};
    }
    return Selection(std::move(members));
}

std::size_t MemberStart(const std::string& name) {
    constexpr std::string_view kArchiveEnd = ".va:";
    const auto folded = [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a + 32) : a) == b;
    };
    const auto found =
        std::search(name.begin(), name.end(), kArchiveEnd.begin(), kArchiveEnd.end(), folded);
    if (found == name.end()) return std::string::npos;
    return static_cast<std::size_t>(found - name.begin()) + kArchiveEnd.size();
}

MemberOperand SplitMemberOperand(const std::string& operand) {
    // ".va:" first, because a path may contain other colons; folders have no ending to look for.
    std::size_t start = MemberStart(operand);
    if (start == std::string::npos) start = operand.find(':') + 1;
    if (start == 0 || start == operand.size()) {
        throw Failure{ExitCode::Usage,
                      "'" + Shown(operand) + "' names no member; write ARCHIVE:MEMBER"};
    }
    return {operand.substr(0, start - 1), operand.substr(start)};
}

Member MemberOf(const Archive& archive, const MemberOperand& operand) {
    const std::optional<Member> member = archive.Find(operand.member);
    if (member) return *member;
    throw Failure{ExitCode::NotFound, "there is no member '" + Shown(operand.member) + "' in '" +
                                          Shown(operand.archive) +
                                          "'; run 'va list' to see its members"};
}

void ReportFailed(Run& run, const std::string& input, ExitCode code, const std::string& message) {
    run.talk.Error(message);
    if (!run.answer.IsJson()) return;
    run.answer.Write(JsonObject("failed")
                         .Set("input", input)
                         .Set("exit", static_cast<std::uint64_t>(code))
                         .Set("error", message));
}

ExitCode ForEachOperand(Run& run, const std::function<ExitCode(const std::string&)>& work) {
    if (run.Operands().size() == 1) return work(run.Operand(0));
    ExitCode gravest = ExitCode::Done;
    for (const std::string& operand : run.Operands()) {
        ExitCode code = ExitCode::Done;
        try {
            code = work(operand);
        } catch (const Error& error) {
            // Running out of disk or memory would fail for the next operand, too.
            const bool isInput =
                error.code() == ErrorCode::Refused || error.code() == ErrorCode::NotFound;
            if (!isInput || platform::InterruptionAsked()) throw;
            code = static_cast<ExitCode>(error.code());
            ReportFailed(run, operand, code, Shown(error.what()));
        }
        gravest = Graver(gravest, code);
    }
    return gravest;
}

ProgressFunction ProgressOf(Run& run) {
    return [&run](const Progress& progress) {
        return run.ShowProgress(progress.step, progress.done, progress.total);
    };
}

}  // namespace va::tool
