#include <algorithm>
#include <array>
#include <fstream>
#include <iostream>

#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/patch/PatchCommands.h"
#include "tools/va/patch/PatchSide.h"
#include "vaconverter/patch.h"

namespace va::tool {
namespace {

constexpr Option kCompact{.name = "compact",
                          .meaning = "write a compact patch, OLD-NEW.vap: smaller, for 'va apply'"};
constexpr Option kPlain{.name = "plain",
                        .meaning = "omit the manifest, as VAConverter patchdiff does"};
constexpr Option kAllowLossy{
    .name = "allow-lossy",
    .meaning = "with --plain: omit members without content instead of refusing them"};
constexpr Option kNoVerify{.name = "no-verify",
                           .meaning = "do not rebuild and compare what the patch holds"};
constexpr Option kNote{.name = "note",
                       .value = "FILE",
                       .meaning = "a text for the users of the patch, which is stored in it",
                       .completes = Completes::Files};

constexpr Operand kOperands[] = {
    {.name = "OLD", .meaning = "an archive, or a folder", .completes = Completes::Archives},
    {.name = "NEW", .meaning = "an archive, or a folder", .completes = Completes::Archives},
};
constexpr std::array kOptions = {&kOutput, &kForce,       &kDryRun, &kCompact,
                                 &kPlain,  &kAllowLossy,  &kNote,   &kNoVerify,
                                 &kJobs,   &kMemoryLimit, &kJson};
constexpr std::array<std::string_view, 4> kExamples = {
    "va diff Town-1.0.va Town-1.1.va", "va diff Town-1.0.va town-work -o town-1.1.patch.va",
    "va diff --dry-run -v Town-1.0.va town-work", "va diff --compact Town-1.0.va Town-1.1.va"};

constexpr std::uint64_t kWorthNoting = 10000;  // least patch bytes of rewritten members for a note

// Returns "Town-1.0" for "games/Town-1.0.va" and "town-work" for "town-work/".
std::string BaseName(const std::string& operand) {
    std::filesystem::path path = std::filesystem::path(operand).lexically_normal();
    if (!path.has_filename()) path = path.parent_path();
    // "." and ".." name a folder only together with the current one.
    if (path.empty() || path == "." || path.filename() == "..") {
        path = std::filesystem::weakly_canonical(operand);
    }
    if (path.extension() == ".va") path = path.stem();
    return path.filename().string();
}

// Throws Failure unless the note can be stored in a manifest, as lines of plain text. Checked here
// because the library knows only the patch, and the message must name the file and line of the
// note.
void JudgeNote(const std::string& path, std::string_view note) {
    constexpr std::size_t kMostNoteBytes = 65536;
    if (note.size() > kMostNoteBytes) {
        Refuse(Shown(path) + ": a note has at most " + GroupedDigits(kMostNoteBytes) + " bytes");
    }
    for (std::size_t number = 1; !note.empty(); ++number) {
        const std::string_view line = note.substr(0, note.find('\n'));
        note.remove_prefix(std::min(note.size(), line.size() + 1));
        const auto refuse = [&](const std::string& what) {
            Refuse(Shown(path) + ": line " + std::to_string(number) + " " + what);
        };
        if (!IsUtf8(line)) refuse("is not UTF-8; save the note as UTF-8");
        for (std::size_t i = 0; i < line.size(); ++i) {
            const auto byte = static_cast<unsigned char>(line[i]);
            const bool isLong = byte == 0xC2 && static_cast<unsigned char>(line[i + 1]) < 0xA0;
            if (!isLong && byte != 0x7F && (byte >= 0x20 || byte == '\t')) continue;
            refuse("has the control character " + Shown(line.substr(i, isLong ? 2 : 1)) +
                   "; a note is plain text");
        }
    }
}

std::string ReadNote(const std::string& path) {
    std::ifstream file;
    if (path != "-") file.open(path, std::ios::binary);
    std::istream& in = path == "-" ? std::cin : file;
    std::string note;
    // Not with iterators: these read past the stream, which then neither sees nor holds errors,
    // such as that of a folder.
    for (std::array<char, 4096> piece{}; in.read(piece.data(), piece.size()) || in.gcount() > 0;) {
        note.append(piece.data(), static_cast<std::size_t>(in.gcount()));
    }
    if (!in.eof()) {
        throw Failure{ExitCode::NotFound,
                      "cannot read '" + Shown(path) + "'; --note names a file of text"};
    }
    std::erase(note, '\r');
    while (note.ends_with('\n')) note.pop_back();
    JudgeNote(path, note);
    return note;
}

// Warns about the members that the result of a plain patch lacks, and removes those that would be
// added from the list of changes: the patch does not hold them.
void TakeLeftOut(Run& run, MakePatchResult& made) {
    constexpr std::size_t kMostNamed = 10;
    const std::size_t count = made.leftOut.size();
    for (std::size_t i = 0; i < std::min(count, kMostNamed); ++i) {
        run.talk.Warning(Shown(made.leftOut[i]) + " has no content; omitted");
    }
    if (count > kMostNamed) {
        run.talk.Warning(GroupedDigits(count - kMostNamed) + " more without content omitted");
    }
    made.counts.added -= std::erase_if(made.changes, [](const MemberChange& change) {
        return change.kind == MemberChange::Kind::Empty;
    });
    if (count > 0) run.AskForALook();
}

void ReportMembers(Run& run, const MakePatchResult& made) {
    for (const MemberChange& change : made.changes) {
        if (run.answer.IsJson()) {
            JsonObject object("change");
            object.Set("change", WordOf(change.kind)).Set("name", change.name);
            if (!change.oldName.empty()) object.Set("old_name", change.oldName);
            run.answer.Write(object.Set("old_size", change.oldSize)
                                 .Set("new_size", change.newSize)
                                 .Set("patch_size", change.patchSize));
        }
        const std::string from = change.oldName.empty() ? "" : " from " + Shown(change.oldName);
        run.talk.Detail(std::string(WordOf(change.kind)) + " " + Shown(change.name) + from + ", " +
                        ShownBytes(change.patchSize));
    }
}

// Reports what was proved: that applying the patch gives the archive byte for byte if it can be
// reproduced, otherwise that it gives the same contents.
void ReportProof(Run& run, const MakePatchResult& made, bool isProved) {
    if (!made.newContent) return;
    const Sha256& digest = made.newArchive ? *made.newArchive : *made.newContent;
    const std::string what = made.newArchive ? Shown(run.Operand(1)) + " byte for byte"
                                             : "the " + Counted(made.newMembers, "member") +
                                                   " of " + Shown(run.Operand(1));
    run.talk.Summary(std::string(isProved ? "proved: " : "not proved: ") + "applied to " +
                     Shown(run.Operand(0)) + " it gives " + what + " (sha256 " + HexOf(digest) +
                     ")");
    const bool isArchive = !std::filesystem::is_directory(run.Operand(1));
    if (isArchive && !made.newArchive) {
        run.talk.Note(
            Shown(run.Operand(1)) +
            " is not stored the way this program stores archives, so the result will have "
            "its members but not its bytes");
    }
}

void ReportRewritten(Run& run, const MakePatchResult& made) {
    std::uint64_t members = 0;
    std::uint64_t bytes = 0;
    for (const MemberChange& change : made.changes) {
        if (!change.IsRewritten()) continue;
        ++members;
        bytes += change.patchSize;
    }
    if (bytes >= kWorthNoting) {
        run.talk.Note(Counted(members, "member") + " changed almost wholly, " + ShownBytes(bytes) +
                      "; run 'va report' to see which");
    }
}

ExitCode RunDiff(Run& run) {
    MakePatchOptions options;
    const std::string ending = run.Has(kCompact) ? ".vap" : ".patch.va";
    options.result = run.Value(kOutput).value_or(BaseName(run.Operand(0)) + "-" +
                                                 BaseName(run.Operand(1)) + ending);
    if (options.result == "-") {
        throw Failure{ExitCode::Usage, "a patch cannot be written to standard output; name a file"};
    }
    options.replace = run.Has(kForce);
    // The ending alone selects the form too: a .vap file of the other form would confuse its users.
    options.compact = run.Has(kCompact) || options.result.extension() == ".vap";
    options.plain = run.Has(kPlain);
    if (options.compact && options.plain) {
        throw Failure{
            ExitCode::Usage,
            "a compact patch needs the manifest, which --plain omits; use one of the two"};
    }
    options.allowLossy = run.Has(kAllowLossy);
    if (options.allowLossy && !options.plain) {
        throw Failure{ExitCode::Usage, "--allow-lossy needs --plain: nothing is lost without it"};
    }
    options.verify = !run.Has(kNoVerify);
    options.dryRun = run.Has(kDryRun);
    if (const auto note = run.Value(kNote)) options.note = ReadNote(*note);
    if (options.plain && !options.note.empty()) {
        throw Failure{ExitCode::Usage,
                      "--note needs the manifest, which --plain omits; use one of the two"};
    }
    if (const auto limit = run.Value(kMemoryLimit)) {
        options.memoryLimit = BytesValue(kMemoryLimit, *limit);
    }
    options.threads = run.Jobs();

    const Archive old = OpenSide(run, run.Operand(0));
    const Archive fresh = OpenSide(run, run.Operand(1));
    MakePatchResult made = MakePatch(old, fresh, options, ProgressOf(run));
    ReportPlace(run, options.result, made);
    if (options.plain) TakeLeftOut(run, made);
    const std::uint64_t leftOut = made.leftOut.size();
    const PatchCounts& counts = made.counts;
    ReportMembers(run, made);
    run.talk.Summary((options.dryRun ? "would write " : "") + Shown(options.result.string()) +
                     "  " + ShownBytes(made.patchSize) + "  " + ShownCounts(counts) +
                     (leftOut > 0 ? "  " + GroupedDigits(leftOut) + " omitted" : ""));
    ReportProof(run, made, options.verify);
    ReportRewritten(run, made);
    run.answer.Last()
        .Set("patch", options.result.string())
        .Set("size", made.patchSize)
        .Set("same", counts.same)
        .Set("changed", counts.changed)
        .Set("added", counts.added)
        .Set("moved", counts.moved)
        .Set("removed", counts.removed)
        .Set("left_out", leftOut)
        .Set("members", made.newMembers)
        .Set("proved", options.verify);
    if (made.newContent) run.answer.Last().Set("sha256", HexOf(*made.newContent));
    if (made.newArchive) run.answer.Last().Set("archive_sha256", HexOf(*made.newArchive));
    return ExitCode::Done;
}

}  // namespace

Command DiffCommand() {
    return {.words = "diff",
            .summary = "make a patch from the old to the new version",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Writes a patch that turns OLD into NEW: the diffs of changed members, the added "
                "members, and lists of both and of the removed ones. Without -o it is "
                "OLD-NEW.patch.va in the current folder. Every changed and added member is rebuilt "
                "from the patch and compared before the patch gets its name.\n"
                "\n"
                "--compact, or a PATCH that ends in .vap, writes the same change as one small "
                "file, which only 'va apply' reads; 'va expand' makes the patch archive of it.\n"
                "\n"
                "VAConverter patchapply applies the patch archive too. Only members without "
                "content need 'va apply': they are in the manifest, which is one more member of "
                "the patch. --plain omits the manifest; with --allow-lossy such members are "
                "omitted as well, each is named, and the exit code is 1.\n"
                "\n"
                "Members that differ and have names that a patch cannot store are refused and "
                "named, and so are members of one side whose names differ in letter case only. "
                "Equal sides give an empty patch. Files of a folder that cannot be members are "
                "skipped, and the exit code is then 1.\n",
            .examples = kExamples,
            .run = RunDiff};
}

}  // namespace va::tool
