#include "tools/va/TagCommands.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <string_view>

#include "assetdata/ChunkWriter.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TagLosses.h"
#include "assetdata/TagText.h"
#include "assetdata/TagWalk.h"
#include "kernel/Paths.h"
#include "tools/va/FindingReport.h"
#include "tools/va/OutputFile.h"
#include "tools/va/TagFile.h"
#include "tools/va/TagPrint.h"

namespace va {
namespace {

ExitCode CodeOf(const FindingReport& report) {
    return report.IsClean() ? ExitCode::Done : ExitCode::DoneWithWarnings;
}

void FindLosses(const TagFile& file, TagForm into, FindingReport& report) {
    if (into == TagForm::Text) {
        Vorn::FindTextLosses(*file.root, report);
    } else {
        Vorn::FindChunkLosses(*file.root, report);
    }
}

ExitCode Convert(const Invocation& invocation, TagForm into) {
    const std::string& input = invocation.operands[0];
    const std::string& output = invocation.operands[1];
    const bool replace = invocation.Has("--force");
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

std::string Counted(std::size_t count, const std::string& what) {
    const std::string plural = what.ends_with("s") ? "es" : "s";
    return (count == 0 ? "no" : GroupedDigits(count)) + " " + what + (count == 1 ? "" : plural);
}

bool SameInAnyCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, Vorn::AsciiToLower, Vorn::AsciiToLower);
}

Vorn::OCSChunkRef FindInAnyCase(const Vorn::OCSChunk& container, std::string_view name) {
    if (Vorn::OCSChunkRef exact = container.FindChild(Vorn::Intern(name))) return exact;
    for (std::uint32_t i = 0; i < container.ChildCount(); ++i) {
        const Vorn::NamedChild child = container.ChildAt(i);
        if (SameInAnyCase(child.name, name)) return child.child;
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

}  // namespace

ExitCode TagToText(const Invocation& invocation) { return Convert(invocation, TagForm::Text); }

ExitCode TagToBinary(const Invocation& invocation) { return Convert(invocation, TagForm::Binary); }

ExitCode TagPrint(const Invocation& invocation) {
    FindingReport report(std::cerr, invocation.operands[0]);
    report.IgnoreLosses();
    const TagFile file = ReadTagFile(invocation.operands[0], report);
    PrintTree(std::cout, *file.root);
    return CodeOf(report);
}

ExitCode TagCheck(const Invocation& invocation) {
    const std::string& input = invocation.operands[0];
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
              << Counted(CountTags(*file.root), "tag") << ", "
              << Counted(report.Problems(), "warning") << ", " << Counted(report.Losses(), "loss")
              << (isText ? " in the binary form\n" : " in the text form\n");
    return CodeOf(report);
}

ExitCode TagGet(const Invocation& invocation) {
    FindingReport report(std::cerr, invocation.operands[0]);
    report.IgnoreLosses();
    const TagFile file = ReadTagFile(invocation.operands[0], report);
    PrintValue(std::cout, *FindTag(file, invocation.operands[1]));
    return CodeOf(report);
}

}  // namespace va
