#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/Interruption.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/patch/PatchSide.h"
#include "tools/va/patch/ReasonTable.h"
#include "tools/va/read/OtherFile.h"
#include "tools/va/read/ReadCommands.h"
#include "vaconverter/patch.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {kFiles};
constexpr std::array kOptions = {&kJobs, &kJson};
constexpr std::array<std::string_view, 1> kExamples = {"va info Town.va"};

const char* NameOf(IndexState state) {
    switch (state) {
        case IndexState::Whole:
            return "whole";
        case IndexState::Absent:
            return "absent";
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

bool HasLists(const Archive& archive) {
    return archive.Find("addedFiles.txt") && archive.Find("deletedFiles.txt") &&
           archive.Find("patchedFiles.txt");
}

// The facts about one archive, patch or folder.
struct Description {
    const std::string& path;
    const Archive& archive;
    std::string kind;
    std::uint64_t compressed = 0;
    std::optional<Sha256> content{};
    std::optional<PatchInfo> patch{};
    bool whole = true;  // false once an unreadable part was skipped
};

// Calls `work`; if a part of the file cannot be read, warns and continues: `va info` shows as much
// of a damaged file as it can. Other errors, and an interruption, end the run.
template <typename Work>
void Try(Run& run, Description& about, Work work) {
    try {
        work();
    } catch (const Error& error) {
        if (error.code() != ErrorCode::Refused || platform::InterruptionAsked()) throw;
        run.talk.Warning(Shown(error.what()));
        about.whole = false;
    }
}

void SetPatch(JsonObject& object, const PatchInfo& patch) {
    object.Set("old_sha256", HexOf(patch.old.content))
        .Set("new_sha256", HexOf(patch.fresh.content));
    if (patch.archive) object.Set("archive_sha256", HexOf(*patch.archive));
    if (!patch.name.empty()) object.Set("result", patch.name);
    if (!patch.note.empty()) object.Set("note", patch.note);
}

void WriteJson(Run& run, const Description& about) {
    const ArchiveInfo& info = about.archive.Info();
    JsonObject object("info");
    object.Set("file", about.path)
        .Set("kind", about.kind)
        .Set("members", std::uint64_t{about.archive.Members().size()})
        .Set("compressed", about.compressed)
        .Set("content", info.contentSize)
        .Set("stored", info.storedSize)
        .Set("size", info.fileSize)
        .Set("dead", info.deadBytes)
        .Set("index", NameOf(info.index))
        .Set("format", std::uint64_t{info.formatVersion})
        .Set("build_version", std::uint64_t{info.buildVersion})
        .Set("product_code", std::uint64_t{info.productCode});
    if (about.content) object.Set("sha256", HexOf(*about.content));
    if (about.patch) SetPatch(object, *about.patch);
    run.answer.Write(object);
}

std::string PatchRows(const PatchInfo& patch) {
    const auto side = [](const PatchInfo::Side& which) {
        return Counted(which.members, "member") + ", " + ShownBytes(which.bytes) + ", sha256 " +
               HexOf(which.content);
    };
    std::string text = Row("old side", side(patch.old)) + Row("new side", side(patch.fresh));
    if (patch.archive) text += Row("gives", "an archive with sha256 " + HexOf(*patch.archive));
    if (!patch.name.empty()) text += Row("result", Shown(patch.name));
    const char* name = "note";
    for (std::string_view note = patch.note; !note.empty(); name = "") {
        const std::string_view line = note.substr(0, note.find('\n'));
        text += Row(name, Shown(line));
        note.remove_prefix(std::min(note.size(), line.size() + 1));
    }
    return text;
}

void WriteText(Run& run, const Description& about) {
    const ArchiveInfo& info = about.archive.Info();
    std::string text = Shown(about.path) + ": " + about.kind + "\n" +
                       Row("members", std::to_string(about.archive.Members().size())) +
                       Row("content", ShownBytes(info.contentSize));
    if (about.content) text += Row("sha256", HexOf(*about.content));
    if (!info.isFolder) {
        std::array<char, 16> version{};
        std::snprintf(version.data(), version.size(), "0x%x", info.formatVersion);
        text += Row("stored", ShownBytes(info.storedSize) + ", " +
                                  Counted(about.compressed, "member") + " compressed") +
                Row("file", ShownBytes(info.fileSize)) +
                Row("dead bytes", ShownBytes(info.deadBytes)) + Row("index", NameOf(info.index)) +
                Row("format", version.data()) +
                Row("build version", std::to_string(info.buildVersion)) +
                Row("product code", std::to_string(info.productCode));
    }
    if (about.patch) text += PatchRows(*about.patch);
    run.answer.Write(text);
}

void WriteOther(Run& run, const std::string& path, const OtherFile& other) {
    if (run.answer.IsJson()) {
        JsonObject object("file");
        object.Set("file", path).Set("kind", other.kind).Set("size", other.size);
        if (other.content) object.Set("content", *other.content);
        if (other.old) object.Set("old_content", *other.old);
        return run.answer.Write(object);
    }
    std::string text = Shown(path) + ": " + other.kind + "\n";
    if (other.old) text += Row("made from", ShownBytes(*other.old));
    if (other.content) text += Row(other.old ? "gives" : "content", ShownBytes(*other.content));
    run.answer.Write(text + Row("file", ShownBytes(other.size)));
}

// Describes an archive, patch or folder. Returns whether all of it could be read.
bool DescribeArchive(Run& run, const std::string& path) {
    const Archive archive = OpenSide(run, path);
    Description about{path, archive, "archive"};
    if (archive.Info().isFolder) about.kind = "folder";
    for (const Member& member : archive.Members()) {
        about.compressed += member.IsCompressed() ? 1 : 0;
    }
    if (HasLists(archive) && !archive.Info().isFolder) {
        about.kind = "patch archive";
        Try(run, about, [&] { about.patch = ReadPatchInfo(archive); });
    }
    Try(run, about, [&] {
        about.content = ContentDigest(archive, Digests(archive, run.Jobs(), ProgressOf(run)));
    });
    if (run.answer.IsJson()) {
        WriteJson(run, about);
    } else {
        WriteText(run, about);
    }
    return !MayLackMembers(run, archive) && about.whole;
}

void WriteCompactJson(Run& run, const std::string& path, const CompactPatchInfo& patch) {
    const PatchInfo& facts = patch.facts;
    JsonObject object("compact");
    object.Set("file", path)
        .Set("size", patch.patchSize)
        .Set("same", patch.counts.same)
        .Set("changed", patch.counts.changed)
        .Set("added", patch.counts.added)
        .Set("moved", patch.counts.moved)
        .Set("removed", patch.counts.removed)
        .Set("old_members", facts.old.members)
        .Set("old_content", facts.old.bytes)
        .Set("new_members", facts.fresh.members)
        .Set("new_content", facts.fresh.bytes);
    SetPatch(object, facts);
    run.answer.Write(object);
    for (const PatchStream& stream : patch.streams) run.answer.Write(JsonOf(stream));
}

void DescribeCompact(Run& run, const std::string& path) {
    const CompactPatchInfo patch = ReadCompactPatch(path, ProgressOf(run));
    if (run.answer.IsJson()) return WriteCompactJson(run, path, patch);
    std::string text = Shown(path) + ": compact patch\n" + PatchRows(patch.facts) +
                       Row("members", ShownCounts(patch.counts)) +
                       Row("file", ShownBytes(patch.patchSize));
    for (const PatchStream& stream : patch.streams) {
        const std::string what = stream.unpacked ? ", " + ShownBytes(*stream.unpacked) + " unpacked"
                                                 : " for " + Counted(stream.members, "member");
        text += Row(CodeOf(stream.kind), ShownBytes(stream.bytes) + what);
    }
    run.answer.Write(text);
}

bool Describe(Run& run, const std::string& path) {
    if (IsCompactPatch(path)) {
        DescribeCompact(run, path);
        return true;
    }
    const std::optional<OtherFile> other = IdentifyFile(path);
    if (!other) return DescribeArchive(run, path);
    WriteOther(run, path, *other);
    return true;
}

ExitCode Info(Run& run) {
    return ForEachOperand(run, [&run](const std::string& path) {
        return Describe(run, path) ? ExitCode::Done : ExitCode::LookAt;
    });
}

}  // namespace

Command InfoCommand() {
    return {.words = "info",
            .summary = "describe a file on one screen",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Shows the kind of FILE, its members and sizes, the SHA-256 of the content (the "
                "digest of the lines of 'va sums'), dead bytes, the state of the index, and the "
                "versions in the header; for a patch also its manifest with the maker's note, and "
                "for a compact patch its streams. For compressed files, diffs, descriptions and "
                "some other files it shows the kind and the sizes. The exit code is 1 when a "
                "member or the manifest is damaged, members may be missing because the archive was "
                "cut off or its index is damaged, or files of a folder cannot be members; 'va "
                "test' names all problems.\n",
            .examples = kExamples,
            .run = Info};
}

}  // namespace va::tool
