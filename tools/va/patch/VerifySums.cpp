#include "tools/va/patch/VerifySums.h"

#include <array>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>

#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "vaconverter/sums.h"

namespace va::tool {
namespace {

const char* NameOf(SumMismatch::Kind kind) {
    switch (kind) {
        case SumMismatch::Kind::Missing:
            return "missing";
        case SumMismatch::Kind::Unlisted:
            return "unlisted";
        default:
            return "differs";
    }
}

void ReportSame(Run& run, const std::vector<Sum>& sums,
                const std::vector<SumMismatch>& mismatches) {
    // Mismatches of listed members come first, in the order of the sums, so one pass suffices.
    auto next = mismatches.begin();
    for (const Sum& sum : sums) {
        if (next != mismatches.end() && next->name == sum.name) {
            ++next;
        } else {
            run.talk.Detail("same " + Shown(sum.name));
        }
    }
}

std::string ReadAll(std::istream& in) {
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

std::optional<std::string> ReadSumsFile(const std::string& path) {
    if (path == "-") return ReadAll(std::cin);
    if (!std::filesystem::is_regular_file(path)) return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    // Only the start is examined, so that a large archive is not read as text.
    constexpr std::size_t kStart = 4096;
    std::string start(kStart, '\0');
    file.read(start.data(), kStart);
    start.resize(static_cast<std::size_t>(file.gcount()));
    // An empty file is the sums of an empty folder; but an empty .va file is a failed download.
    const bool isEmpty = start.empty() && std::filesystem::path(path).extension() != ".va";
    if (!isEmpty && !LooksLikeSums(start)) return std::nullopt;
    file.clear();
    return start + ReadAll(file);
}

ExitCode VerifySums(Run& run, const std::string& target, const std::string& path,
                    const std::string& text) {
    std::vector<Sum> sums;
    try {
        sums = ParseSums(text);
    } catch (const Error& error) {
        Refuse(Shown(path) + ": " + error.what());
    }
    const Archive archive = OpenSide(run, target);
    // Only the sums of nothing have no lines; else writing them failed.
    if (sums.empty() && !archive.Members().empty()) {
        Refuse(Shown(path) + " is empty; make it with 'va sums'");
    }
    const std::vector<SumMismatch> mismatches =
        CompareSums(archive, sums, run.Jobs(), ProgressOf(run));
    for (const auto& [kind, name] : mismatches) {
        if (run.answer.IsJson()) {
            run.answer.Write(JsonObject("mismatch").Set("name", name).Set("what", NameOf(kind)));
        } else {
            run.answer.Write(Shown(name) + ": " + NameOf(kind) + "\n");
        }
    }
    if (run.talk.IsVerbose()) ReportSame(run, sums, mismatches);
    run.answer.Last().Set("file", target).Set("side", mismatches.empty() ? "same" : "neither");
    if (mismatches.empty()) {
        if (!run.answer.IsJson()) {
            run.answer.Write(Shown(target) + ": matches " + Shown(path) + "\n");
        }
        return MayLackMembers(run, archive) ? ExitCode::LookAt : ExitCode::Done;
    }
    run.talk.Error(Shown(target) + " does not match " + Shown(path) + ": " +
                   Counted(mismatches.size(), "difference"));
    return ExitCode::LookAt;
}

}  // namespace va::tool
