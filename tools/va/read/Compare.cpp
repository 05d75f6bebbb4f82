#include "vaconverter/compare.h"

#include <array>
#include <set>

#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/read/ReadCommands.h"

namespace va::tool {
namespace {

constexpr Option kStat{.name = "stat", .meaning = "only the number of members of each kind"};

constexpr Operand kOperands[] = {
    {.name = "A", .meaning = "an archive, or a folder", .completes = Completes::Archives},
    {.name = "B", .meaning = "an archive, or a folder", .completes = Completes::Archives},
};
constexpr std::array kOptions = {&kStat, &kJobs, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {"va compare Town-1.0.va Town-1.1.va",
                                                       "va compare --stat Town.va town-work/"};

struct KindName {
    char letter;
    const char* word;
};

KindName NameOf(Difference::Kind kind) {
    switch (kind) {
        case Difference::Kind::Added:
            return {'A', "added"};
        case Difference::Kind::Removed:
            return {'D', "removed"};
        case Difference::Kind::Renamed:
            return {'R', "renamed"};
        default:
            return {'M', "changed"};
    }
}

std::string SizesOf(const Difference& difference) {
    using enum Difference::Kind;
    if (difference.kind == Removed) return ShownBytes(difference.oldSize);
    const std::string fresh = ShownBytes(difference.newSize);
    return difference.kind == Changed ? ShownBytes(difference.oldSize) + " -> " + fresh : fresh;
}

void WriteDifference(Answer& answer, const Difference& difference) {
    const KindName kind = NameOf(difference.kind);
    if (!answer.IsJson()) {
        const std::string from = difference.oldName.empty() ? "" : Shown(difference.oldName) + "\t";
        return answer.Write(std::string(1, kind.letter) + "\t" + from + Shown(difference.name) +
                            "\n");
    }
    JsonObject object("difference");
    object.Set("change", kind.word).Set("name", difference.name);
    if (!difference.oldName.empty()) object.Set("old_name", difference.oldName);
    answer.Write(object.Set("old_size", difference.oldSize).Set("new_size", difference.newSize));
}

// With -v, lists on standard error the sizes of differing members, and the equal members. Standard
// output stays the same, so that scripts can use -v.
void ReportMembers(Run& run, const Archive& b, const Comparison& comparison) {
    std::set<std::string_view> different;
    for (const Difference& difference : comparison.differences) {
        different.insert(difference.name);
        run.talk.Detail(NameOf(difference.kind).word + (" " + Shown(difference.name)) + ", " +
                        SizesOf(difference));
    }
    for (const Member& member : b.Members()) {
        if (!different.contains(member.Name())) run.talk.Detail("same " + Shown(member.Name()));
    }
}

ExitCode RunCompare(Run& run) {
    const Archive a = OpenSide(run, run.Operand(0));
    const Archive b = OpenSide(run, run.Operand(1));
    const bool mayLackA = MayLackMembers(run, a);
    const bool mayLack = MayLackMembers(run, b) || mayLackA;
    const Comparison comparison = Compare(a, b, run.Jobs(), ProgressOf(run));
    std::array<std::uint64_t, 4> counts{};
    for (const Difference& difference : comparison.differences) {
        ++counts.at(static_cast<std::size_t>(difference.kind));
        if (!run.Has(kStat)) WriteDifference(run.answer, difference);
    }
    if (run.talk.IsVerbose()) ReportMembers(run, b, comparison);
    const auto count = [&](Difference::Kind kind) {
        return counts.at(static_cast<std::size_t>(kind));
    };
    using enum Difference::Kind;
    const std::string summary =
        GroupedDigits(comparison.same) + " same, " + GroupedDigits(count(Changed)) + " changed, " +
        GroupedDigits(count(Added)) + " added, " + GroupedDigits(count(Renamed)) + " renamed, " +
        GroupedDigits(count(Removed)) + " removed";
    if (run.Has(kStat) && !run.answer.IsJson()) {
        run.answer.Write(summary + "\n");
    } else {
        run.talk.Summary(summary);
    }
    run.answer.Last()
        .Set("same", comparison.same)
        .Set("changed", count(Changed))
        .Set("added", count(Added))
        .Set("renamed", count(Renamed))
        .Set("removed", count(Removed));
    return comparison.differences.empty() && !mayLack ? ExitCode::Done : ExitCode::LookAt;
}

}  // namespace

Command CompareCommand() {
    return {
        .words = "compare",
        .summary = "show the differences of two archives or folders",
        .operands = kOperands,
        .options = kOptions,
        .details =
            "Compares the members of A and B by name and content. Each line has a letter, a "
            "tab and the name: A added, M changed, D removed, R renamed (old and new name). "
            "Names that differ in letter case only are one name; a side that has such names is "
            "refused. With -v standard error has a line "
            "for each member: its sizes if it differs, or 'same'.\n"
            "\n"
            "The exit code is 0 when both are equal, 1 when "
            "they differ, members may be missing because an archive was cut off or its index is "
            "damaged, or files of a folder cannot be members.\n",
        .examples = kExamples,
        .run = RunCompare};
}

}  // namespace va::tool
