#include <array>
#include <cstdio>

#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/read/ReadCommands.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {{.name = "FILE",
                                  .meaning = "an archive or patch, or a folder",
                                  .repeats = true,
                                  .completes = Completes::Archives}};
constexpr std::array kOptions = {&kJson};
constexpr std::array<std::string_view, 1> kExamples = {"va info Town.va"};

const char* NameOf(IndexState state) {
    switch (state) {
        case IndexState::Whole:
            return "whole";
        case IndexState::Absent:
            return "none";
        case IndexState::Missing:
            return "missing";
        default:
            return "damaged";
    }
}

std::string Row(std::string_view name, const std::string& value) {
    constexpr std::size_t kColumn = 16;
    return "  " + std::string(name) + std::string(kColumn - name.size(), ' ') + value + "\n";
}

bool IsPatch(const Archive& archive) {
    return archive.Find("addedFiles.txt") && archive.Find("deletedFiles.txt") &&
           archive.Find("patchedFiles.txt");
}

void Describe(Run& run, const std::string& path) {
    const Archive archive = OpenSide(run, path);
    const ArchiveInfo& info = archive.Info();
    const std::string kind = info.isFolder      ? "folder"
                             : IsPatch(archive) ? "patch archive"
                                                : "archive";
    std::uint64_t compressed = 0;
    for (const Member& member : archive.Members()) compressed += member.IsCompressed() ? 1 : 0;
    if (run.answer.IsJson()) {
        run.answer.Write(JsonObject("info")
                             .Set("file", path)
                             .Set("kind", kind)
                             .Set("members", std::uint64_t{archive.Members().size()})
                             .Set("compressed", compressed)
                             .Set("content", info.contentSize)
                             .Set("stored", info.storedSize)
                             .Set("size", info.fileSize)
                             .Set("dead", info.deadBytes)
                             .Set("index", NameOf(info.index))
                             .Set("format", std::uint64_t{info.formatVersion})
                             .Set("build_version", std::uint64_t{info.buildVersion})
                             .Set("product_code", std::uint64_t{info.productCode}));
        return;
    }
    std::string text = Shown(path) + ": " + kind + "\n" +
                       Row("members", std::to_string(archive.Members().size())) +
                       Row("content", ShownBytes(info.contentSize));
    if (!info.isFolder) {
        std::array<char, 16> version{};
        std::snprintf(version.data(), version.size(), "0x%x", info.formatVersion);
        text += Row("stored", ShownBytes(info.storedSize) + ", " + Counted(compressed, "member") +
                                  " compressed") +
                Row("file", ShownBytes(info.fileSize)) +
                Row("dead bytes", ShownBytes(info.deadBytes)) + Row("index", NameOf(info.index)) +
                Row("format", version.data()) +
                Row("build version", std::to_string(info.buildVersion)) +
                Row("product code", std::to_string(info.productCode));
    }
    run.answer.Write(text);
}

ExitCode Info(Run& run) {
    for (const std::string& path : run.Operands()) Describe(run, path);
    return ExitCode::Done;
}

}  // namespace

Command InfoCommand() {
    return {.words = "info",
            .summary = "say what a file is, on one screen",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Shows what FILE is: members, sizes, bytes that nothing uses any more, the state "
                "of the index, and the versions in its header. Only the index is read; 'va test' "
                "reads everything.\n",
            .examples = kExamples,
            .run = Info};
}

}  // namespace va::tool
