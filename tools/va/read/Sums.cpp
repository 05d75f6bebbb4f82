#include "vaconverter/sums.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "platform/Terminal.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/read/ReadCommands.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE", .meaning = "an archive, or a folder", .completes = Completes::Archives}};
constexpr std::array kOptions = {&kJobs, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {
    "va sums Town.va >Town.sums",
    "va extract -C town Town.va && (cd town && sha256sum -c ../Town.sums)"};

ExitCode RunSums(Run& run) {
    const Archive archive = OpenSide(run, run.Operand(0));
    const std::vector<Sha256> digests = Digests(archive, run.Jobs(), ProgressOf(run));
    std::vector<Member> members(archive.Members().begin(), archive.Members().end());
    // By digest as well, so that duplicate names come in the same order for every storage order.
    std::ranges::sort(members, [&](const Member& a, const Member& b) {
        return std::tie(a.Name(), digests[a.Index()]) < std::tie(b.Name(), digests[b.Index()]);
    });
    // `sha256sum -c` needs names exactly as extracted, but a terminal must not get control
    // characters.
    const bool isShown = platform::IsTerminal(platform::StandardStream::Output);
    for (const Member& member : members) {
        const Sha256& digest = digests[member.Index()];
        if (run.answer.IsJson()) {
            run.answer.Write(JsonObject("sum")
                                 .SetName("name", member.Name(), member.StoredName())
                                 .Set("size", member.Size())
                                 .Set("sha256", HexOf(digest)));
        } else {
            run.answer.Write(isShown ? HexOf(digest) + "  " + Shown(member.Name()) + "\n"
                                     : SumLine(member.Name(), digest));
        }
    }
    const std::string all = HexOf(ContentDigest(archive, digests));
    run.answer.Last()
        .Set("members", std::uint64_t{members.size()})
        .Set("bytes", archive.Info().contentSize)
        .Set("sha256", all);
    run.talk.Summary(Counted(members.size(), "member") + ", " +
                     ShownBytes(archive.Info().contentSize) + ", sha256 " + all);
    return MayLackMembers(run, archive) ? ExitCode::LookAt : ExitCode::Done;
}

}  // namespace

Command SumsCommand() {
    return {.words = "sums",
            .summary = "print SHA-256 digests of members",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Prints the digest of each member as a line of sha256sum, in the byte order of the "
                "names in UTF-8, so 'sha256sum -c' can check extracted files. An archive and a "
                "folder with the same content give the same lines, whatever their order and "
                "compression. The summary has the digest of all lines.\n"
                "\n"
                "Names with a backslash or a line end are escaped as sha256sum does. In a file or "
                "pipe all other characters are as in the names of extracted files, so that "
                "sha256sum finds them; a terminal gets control characters as \\x81.\n",
            .examples = kExamples,
            .run = RunSums};
}

}  // namespace va::tool
