#include <array>

#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/read/ReadCommands.h"
#include "vaconverter/patch.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {kFiles};
constexpr std::array kOptions = {&kJobs, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {"va test Town.va", "va test -v *.va"};

// Throws Error for a patch that is damaged. What the coded contents give cannot be judged without
// the old side.
void TestCompact(Run& run, const std::string& path) {
    const CompactPatchInfo patch = ReadCompactPatch(path, ProgressOf(run));
    std::uint64_t members = 0;
    for (const PatchStream& stream : patch.streams) members += stream.members;
    if (run.answer.IsJson()) {
        run.answer.Write(JsonObject("tested")
                             .Set("file", path)
                             .Set("whole", true)
                             .Set("members", members)
                             .Set("bytes", patch.patchSize));
    }
    run.talk.Summary(Shown(path) + ": whole, " + Counted(members, "member") + ", " +
                     ShownBytes(patch.patchSize));
}

// Tests one file and reports its problems. Returns whether there are none.
bool TestOne(Run& run, const std::string& path) {
    if (IsCompactPatch(path)) {
        TestCompact(run, path);
        return true;
    }
    constexpr std::size_t kMostFindings = 100;
    const Archive archive = OpenSide(run, path);
    const CheckResult result = archive.Check(run.Jobs(), kMostFindings, ProgressOf(run));
    for (const Finding& finding : result.findings) {
        const std::string member = finding.member.empty() ? "" : Shown(finding.member) + ": ";
        if (run.answer.IsJson()) {
            run.answer.Write(JsonObject("finding")
                                 .Set("file", path)
                                 .Set("member", finding.member)
                                 .Set("offset", finding.offset)
                                 .Set("what", finding.what));
        } else {
            run.answer.Write(Shown(path) + ": " + member + Shown(finding.what) + " (offset " +
                             std::to_string(finding.offset) + ")\n");
        }
    }
    if (result.found > result.findings.size()) {
        run.talk.Note(Shown(path) + ": and " +
                      GroupedDigits(result.found - result.findings.size()) + " more");
    }
    const std::string verdict = result.found == 0 ? "whole" : Counted(result.found, "problem");
    if (run.answer.IsJson()) {
        run.answer.Write(JsonObject("tested")
                             .Set("file", path)
                             .Set("whole", result.found == 0)
                             .Set("members", std::uint64_t{archive.Members().size()})
                             .Set("bytes", result.contentSize));
    }
    run.talk.Summary(Shown(path) + ": " + verdict + ", " +
                     Counted(archive.Members().size(), "member") + ", " +
                     ShownBytes(result.contentSize));
    return result.found == 0;
}

// Damage is Refused, not LookAt: scripts may test the exit code for "safe to use".
ExitCode Test(Run& run) {
    return ForEachOperand(run, [&run](const std::string& path) {
        return TestOne(run, path) ? ExitCode::Done : ExitCode::Refused;
    });
}

}  // namespace

Command TestCommand() {
    return {.words = "test",
            .summary = "check every byte of archives",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Checks every byte: the index against the members, check sums, sizes, overlaps, "
                "names, hidden and duplicate members, a missing index. Each problem is a line with "
                "its offset, and the exit code is then 2. For a compact patch it checks the digest "
                "of the file, the check sums and the lists; its contents can only be checked with "
                "'va apply --check OLD PATCH'. The exit code is 1 when files of a folder cannot be "
                "members.\n",
            .examples = kExamples,
            .run = Test};
}

}  // namespace va::tool
