#include "tools/va/tag/TagCommands.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <string>
#include <string_view>

#include "assetdata/ChunkWriter.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TagLosses.h"
#include "assetdata/TagText.h"
#include "assetdata/TagWalk.h"
#include "kernel/LetterCase.h"
#include "tools/va/Run.h"
#include "tools/va/tag/FindingReport.h"
#include "tools/va/tag/OutputFile.h"
#include "tools/va/tag/TagFile.h"
#include "tools/va/tag/TagPrint.h"

namespace va::tool {
namespace {

ExitCode CodeOf(const FindingReport& report) {
    return report.IsClean() ? ExitCode::Done : ExitCode::LookAt;
}

void FindLosses(const TagFile& file, TagForm into, FindingReport& report) {
    if (into == TagForm::Text) {
        Vorn::FindTextLosses(*file.root, report);
    } else {
        Vorn::FindChunkLosses(*file.root, report);
    }
}

ExitCode Convert(Run& run, TagForm into) {
    const std::string& input = run.Operand(0);
    const std::string& output = run.Operand(1);
    const bool replace = run.Has(kForce);
    CheckEnding(output, into);
    OutputFile::Check(output, replace);

    FindingReport report(std::cerr, input);
    const TagFile file = ReadTagFile(input, report);
    FindLosses(file, into, report);
    OutputFile out(output, replace);
    const bool written = into == TagForm::Text ? Vorn::WriteTagTextFile(*file.root, out)
                                               : Vorn::WriteChunkFile(*file.root, out, &report);
    if (!written && out.Problem().empty()) {
        Refuse("'" + output + "' is not written: this form cannot hold the tags of '" + input +
               "' at all");
    }
    out.Place();
    return CodeOf(report);
}

std::size_t CountTags(const Vorn::OCSChunk& root) {
    std::size_t count = 0;
    for (Vorn::TagWalk walk(root); walk.Next();) count += walk.IsLeaving() ? 0 : 1;
    return count;
}

std::string CountedOrNone(std::size_t count, const std::string& what) {
    const std::string plural = what.ends_with("s") ? "es" : "s";
    return (count == 0 ? "no" : GroupedDigits(count)) + " " + what + (count == 1 ? "" : plural);
}

Vorn::OCSChunkRef FindInAnyCase(const Vorn::OCSChunk& container, std::string_view name) {
    if (Vorn::OCSChunkRef exact = container.FindChild(Vorn::Intern(name))) return exact;
    for (std::uint32_t i = 0; i < container.ChildCount(); ++i) {
        const Vorn::NamedChild child = container.ChildAt(i);
        if (Vorn::EqualAsciiNoCase(child.name, name)) return child.child;
    }
    return {};
}

// What a person may have meant, from the names of a container.
std::string SomeNames(const Vorn::OCSChunk& container) {
    constexpr std::uint32_t kMostNames = 12;
    std::string names;
    for (std::uint32_t i = 0; i < std::min(container.ChildCount(), kMostNames); ++i) {
        names.append(i > 0 ? ", " : "").append(Vorn::Printable(container.ChildAt(i).name));
    }
    if (container.ChildCount() > kMostNames) names += ", ...";
    return names.empty() ? "it holds none" : "it has " + names;
}

// The first name of a path, which it is taken off. A backslash in front of '/' or of another one
// makes that a part of the name.
std::string TakeName(std::string_view& path) {
    std::string name;
    while (!path.empty()) {
        const bool escaped = path.starts_with("\\/") || path.starts_with("\\\\");
        const char c = path[escaped ? 1 : 0];
        path.remove_prefix(escaped ? 2 : 1);
        if (c == '/' && !escaped) break;
        name += c;
    }
    return name;
}

[[noreturn]] void ReportMissing(const std::string& name, const std::string& way,
                                const Vorn::OCSChunk& container) {
    const std::string place = way.empty() ? "at the top" : "in '" + way + "'";
    throw Failure{ExitCode::NotFound,
                  "there is no tag '" + name + "' " + place + ": " + SomeNames(container)};
}

Vorn::OCSChunkRef FindTag(const TagFile& file, std::string_view path) {
    Vorn::OCSChunkRef tag = file.root;
    std::string way;
    while (!path.empty()) {
        const std::string name = TakeName(path);
        if (name.empty()) continue;
        const Vorn::OCSChunkRef child = FindInAnyCase(*tag, name);
        if (!child) ReportMissing(name, way, *tag);
        tag = child;
        way.append(way.empty() ? "" : "/").append(name);
    }
    return tag;
}

ExitCode TagToText(Run& run) { return Convert(run, TagForm::Text); }

ExitCode TagToBinary(Run& run) { return Convert(run, TagForm::Binary); }

ExitCode TagPrint(Run& run) {
    FindingReport report(std::cerr, run.Operand(0));
    report.IgnoreLosses();
    const TagFile file = ReadTagFile(run.Operand(0), report);
    PrintTree(std::cout, *file.root);
    return CodeOf(report);
}

ExitCode TagCheck(Run& run) {
    const std::string& input = run.Operand(0);
    FindingReport report(std::cout, input);
    const TagFile file = ReadTagFile(input, report);
    const bool isText = file.form == TagForm::Text;
    FindLosses(file, isText ? TagForm::Binary : TagForm::Text, report);
    if (isText) {
        // The writer alone tells what cannot be written at all.
        Vorn::TBufferBlock block(1U << 16);
        Vorn::TBuffer nowhere(block);
        (void)Vorn::WriteChunkFile(*file.root, nowhere, &report);
    }
    report.Finish();
    std::cout << input << ": " << (isText ? "text form, " : "binary form, ")
              << CountedOrNone(CountTags(*file.root), "tag") << ", "
              << CountedOrNone(report.Problems(), "warning") << ", "
              << CountedOrNone(report.Losses(), "loss")
              << (isText ? " in the binary form\n" : " in the text form\n");
    return CodeOf(report);
}

ExitCode TagGet(Run& run) {
    FindingReport report(std::cerr, run.Operand(0));
    report.IgnoreLosses();
    const TagFile file = ReadTagFile(run.Operand(0), report);
    PrintValue(std::cout, *FindTag(file, run.Operand(1)));
    return CodeOf(report);
}

constexpr Operand kIn{.name = "IN",
                      .meaning = "a file, or a member of an archive: archive.va:member/path",
                      .completes = Completes::Members};
constexpr Operand kOut{.name = "OUT",
                       .meaning = "the file to write; it appears whole or not at all"};
constexpr Operand kPath{.name = "PATH",
                        .meaning = "names from the top down, joined by '/'; the first of equals",
                        .completes = Completes::Nothing};
constexpr std::array kInput = {kIn};
constexpr std::array kInputAndOutput = {kIn, kOut};
constexpr std::array kInputAndPath = {kIn, kPath};
constexpr std::array kReplacing = {&kForce};

constexpr std::array<std::string_view, 3> kToTextExamples = {
    "va tag to-text config.chump config.txt",
    "va tag to-text Town.va:trains/engine.chump engine.txt",
    "va tag to-text --force config.chump config.txt"};
constexpr std::array<std::string_view, 2> kToBinaryExamples = {
    "va tag to-binary config.txt config.chump", "va tag to-binary Town.va:config.txt config.chump"};
constexpr std::array<std::string_view, 2> kPrintExamples = {"va tag print config.chump",
                                                            "va tag print Town.va:config.txt"};
constexpr std::array<std::string_view, 2> kCheckExamples = {
    "va tag check config.txt", "va tag check Town.va:trains/engine.chump"};
constexpr std::array<std::string_view, 3> kGetExamples = {
    "va tag get config.txt username", "va tag get Town.va:config.txt thumbnails/0/image",
    "va tag get config.txt 'km\\/h/limit'"};

constexpr Command kCommands[] = {
    {.words = "tag to-text",
     .summary = "write an asset description in its text form",
     .operands = kInputAndOutput,
     .options = kReplacing,
     .details = "Writes the tags of IN in the text form. IN may have either form: .txt is text, "
                ".chump, .cdp and .cdp2 are binary, and the first bytes decide about other names.\n"
                "\n"
                "The text form has no raw bytes, no capital letters or blanks in names, and only "
                "six digits of a float. Whatever OUT does not hold as IN did is named on standard "
                "error, one line each, and the exit code is then 1.\n",
     .examples = kToTextExamples,
     .run = TagToText},
    {.words = "tag to-binary",
     .summary = "write an asset description in its binary form",
     .operands = kInputAndOutput,
     .options = kReplacing,
     .details =
         "Writes the tags of IN in the binary form, as version 1 of it (texts in UTF-8). IN may "
         "have either form, as for 'va tag to-text'.\n"
         "\n"
         "A text's names lose their capital letters, and its floats the digits beyond about seven. "
         "Whatever was read differently than it is written in IN, and whatever OUT does "
         "not hold as IN did, is named on standard error, and the exit code is then 1. A name of "
         "more than 254 bytes cannot be stored in the binary form: nothing is written.\n",
     .examples = kToBinaryExamples,
     .run = TagToBinary},
    {.words = "tag print",
     .summary = "show all tags and their values",
     .operands = kInput,
     .options = {},
     .details = "Shows every tag with its value, exactly: floats with all their digits, the first "
                "raw bytes in hex, control characters in texts as \\xNN. This is for reading; "
                "'va tag to-text' writes what programs read.\n",
     .examples = kPrintExamples,
     .run = TagPrint},
    {.words = "tag check",
     .summary = "find faults, and what converting loses",
     .operands = kInput,
     .options = {},
     .details =
         "Names everything that a program would read differently than it is written, with line and "
         "column (text) or offset (binary), then what the other form cannot hold, and "
         "sums up. The exit code is 0 when there is nothing to name, 2 when programs can read "
         "nothing at all.\n",
     .examples = kCheckExamples,
     .run = TagCheck},
    {.words = "tag get",
     .summary = "print the value of one tag",
     .operands = kInputAndPath,
     .options = {},
     .details =
         "Prints a text as it is, numbers with ',' between them, raw bytes in hex, and a container "
         "as 'va tag print' does; nothing for a tag without a value. A name is found in "
         "any letter case, the exact one first. For a '/' in a name write '\\/', for a backslash "
         "'\\\\'.\n",
     .examples = kGetExamples,
     .run = TagGet},
};

}  // namespace

std::span<const Command> TagCommands() { return kCommands; }

}  // namespace va::tool
