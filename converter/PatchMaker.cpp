#include "converter/PatchMaker.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <utility>

#include "KernelStandard/FileSubstList.h"
#include "archive/Stream.h"
#include "converter/ArchiveCheck.h"
#include "converter/Console.h"
#include "converter/FixedLines.h"
#include "converter/Guarded.h"
#include "converter/MemberCheck.h"
#include "converter/PatchTools.h"
#include "converter/Walk.h"
#include "kernel/Paths.h"
#include "kernel/String.h"
#include "patch/MD5.h"
#include "platform/Directories.h"

namespace converter {

using namespace Vorn;

namespace {

// Fixed: the ending of the diff program's output.
constexpr std::string_view kDiffEnding = ".diff";

[[nodiscard]] std::string WithoutQuotes(const char* text) {
    String folder(text);
    folder.RemoveChars("\"");
    return folder.Text();
}

// Refuses a name that the lists cannot hold: one with a line feed.
[[nodiscard]] bool AcceptForLists(std::string_view member) {
    if (member.find('\n') == std::string_view::npos) return true;
    PrintProblem("a member name with a line feed cannot be stored in a patch: \"" +
                 std::string(member) + '"');
    return false;
}

// Refuses a name under which the patch cannot hold anything.
[[nodiscard]] bool AcceptForPatch(const char* member) {
    if (!AcceptForLists(member)) return false;
    if (!patch::IsListName(member)) return true;
    PrintProblem("\"" + std::string(member) +
                 "\" cannot be stored in a patch, which keeps one of its lists under that name");
    return false;
}

// Opens a member if there is one. False if it is there and cannot be read.
[[nodiscard]] bool OpenIfThere(File& file, const InputArchive& input, const char* member) {
    const FileResult result = file.Open(input.mount, member, kReadDetect);
    if (result == RES_OK || result == RES_FILENOTFOUND) return true;
    PrintProblem("cannot read \"" + std::string(member) + "\" in \"" + input.path + '"');
    return false;
}

// Reports a member that the walk found and that does not open under its name. Returns whether it
// may be skipped: not if the name opens a member of the other archive, which would be compared with
// nothing.
[[nodiscard]] bool ReportUnopenable(const char* member, bool otherHolds) {
    const std::string name = '"' + std::string(member) + '"';
    PrintProblem(otherHolds ? name +
                                  " cannot be opened by its name in one archive and can in the "
                                  "other; rename it"
                            : "skipped " + name + ", which cannot be opened by its name");
    return !otherHolds;
}

// Reads a member whole. One that is damaged is named and taken as it is: the digests decide what
// becomes of it.
[[nodiscard]] bool ReadMember(const InputArchive& input, const char* member, File& file,
                              MemberContent& content) {
    if (!content.ReadAll(file)) return false;
    (void)CheckContent(input, member, file, content.Bytes());
    return true;
}

[[nodiscard]] bool SameBytes(std::span<const std::byte> a, std::span<const std::byte> b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

}  // namespace

PatchMaker::PatchMaker(const Inputs& inputs, const WorkFiles& workFiles, const char* outputFolder)
    : inputs_(inputs), workFiles_(workFiles), outputFolder_(WithoutQuotes(outputFolder)) {}

bool PatchMaker::Prepare() {
    const std::string name(inputs_.old.mount.View());
    if (name.empty() || name == "." || name == "..") {
        PrintProblem('"' + name + "\" cannot name a working folder; rename the old archive");
        return false;
    }
    PathBuffer workDir{outputFolder_};
    AppendPathComponent(workDir, name);
    workFolder_.SetPath(workDir);
    workFolder_.SetLeftovers([this](std::string_view file) { return IsRunsOwn(file); });
    outputName_ = Intern(name + "-diff");
    SetPath(patchPath_, outputFolder_);
    AppendPathComponent(patchPath_, name + "-diff.va");

    if (!outputFolder_.empty() && !outputFolders_.Make(outputFolder_)) {
        PrintProblem("cannot create the folder \"" + outputFolder_ + '"');
        return false;
    }
    const std::string path(patchPath_.View());
    if (!LockOutput(outputLock_, path)) return false;
    if (platform::GetEntryKind(path.c_str()) != platform::EntryKind::None) {
        PrintProblem('"' + path + "\" exists; move it away or name another output folder");
        return false;
    }
    return workFolder_.Clear() && workFolder_.MakeFolder("") &&
           output_.Create(outputName_, UnfinishedPath());
}

bool PatchMaker::Run(const OldArchive& old) {
    const bool good = Guarded(false, [&] { return MakePatch(old); });
    output_.Discard();
    workFolder_.Delete();
    return good;
}

bool PatchMaker::MakePatch(const OldArchive& old) {
    for (const InputArchive* input : {&inputs_.old, &inputs_.other}) {
        // Damage is named; the members that can be read are compared all the same.
        if (KindOf(*input) == InputKind::Archive) {
            (void)JudgeArchive(input->path, Depth::Structure);
        }
    }
    const bool walked = old.walk() && WalkNewFolder("") == 0;
    Subst(inputs_.other.mount, nullptr);
    // A result that comes with exit code 1 would be treated as a good one.
    if (!walked || !WriteLists() || !AllLinesPrinted() || !output_.Complete()) return false;
    StopIfAsked();
    ReportEmptyMembers();
    return MoveOutOfWorkFolder();
}

bool PatchMaker::IsRunsOwn(std::string_view file) const {
    if (file == FileNamePart(patchPath_.c_str()) + std::string(kPartEnding)) return true;
    if (IsDiffProgramTemporary(file.substr(file.rfind('/') + 1))) return true;
    if (!file.ends_with(kDiffEnding)) return false;
    const std::string member(file.substr(0, file.size() - kDiffEnding.size()));
    // The new archive is no longer mounted at the end of a run.
    return std::ranges::any_of(std::array{&inputs_.old, &inputs_.other}, [&](const auto* input) {
        return FileSubstList::Instance().IsMounted(input->mount) && Holds(*input, member.c_str());
    });
}

bool PatchMaker::EnterFolder(const char* folder) { return workFolder_.MakeFolder(folder); }

bool PatchMaker::ProcessMember(const char* member) {
    StopIfAsked();
    progress_.Step();
    File oldFile;
    File newFile;
    if (!OpenIfThere(oldFile, inputs_.old, member)) return false;
    if (!OpenIfThere(newFile, inputs_.other, member)) return false;
    if (!oldFile.IsOpen()) return ReportUnopenable(member, newFile.IsOpen());
    return newFile.IsOpen() ? CompareMember(member, oldFile, newFile)
                            : RecordRemoved(member, oldFile);
}

int PatchMaker::WalkNewFolder(const char* folder) {
    // Guarded here, so that the working folder is deleted after an exception too.
    return Guarded(1, [&] {
        if (!EnterFolder(folder)) return 1;
        return WalkFolder(
            inputs_.other.mount, folder, [this](const char* path) { return WalkNewFolder(path); },
            [this](const char* path) { return ProcessNewMember(path) ? 0 : 1; });
    });
}

bool PatchMaker::ProcessNewMember(const char* member) {
    StopIfAsked();
    progress_.Step();
    const bool isOld = Holds(inputs_.old, member);
    // The first pass has compared a member that both archives hold.
    if (isOld && Holds(inputs_.other, member)) return true;
    File newFile;
    if (!OpenIfThere(newFile, inputs_.other, member)) return false;
    if (!newFile.IsOpen()) return ReportUnopenable(member, isOld);
    return RecordAdded(member, newFile);
}

bool PatchMaker::RecordRemoved(const char* member, File& oldFile) {
    MemberContent content;
    if (!ReadMember(inputs_.old, member, oldFile, content) || !AcceptForLists(member)) return false;
    deleted_[member] = patch::DigestOf(content.Bytes());
    PrintLine(line::kRemoved, member);
    return true;
}

bool PatchMaker::RecordAdded(const char* member, File& newFile) {
    MemberContent content;
    if (!ReadMember(inputs_.other, member, newFile, content) || !AcceptForPatch(member)) {
        return false;
    }
    if (content.Bytes().empty()) {
        emptyMembers_.Note(member);
        addsEmptyMember_ = true;
    }
    if (!StoreMember(outputName_, member, content.Bytes())) return Fail(line::kCannotAdd, member);
    added_[member] = patch::DigestOf(content.Bytes());
    PrintLine(line::kAdded, member);
    return true;
}

bool PatchMaker::CompareMember(const char* member, File& oldFile, File& newFile) {
    std::string oldDigest;
    std::string newDigest;
    {
        MemberContent oldContent;
        MemberContent newContent;
        if (!ReadMember(inputs_.old, member, oldFile, oldContent)) return false;
        if (!ReadMember(inputs_.other, member, newFile, newContent)) return false;
        if (newContent.Bytes().empty()) emptyMembers_.Note(member);

        // The digests decide. Equal bytes have equal ones, and comparing costs less than digesting.
        bool identical = SameBytes(oldContent.Bytes(), newContent.Bytes());
        if (!identical) {
            oldDigest = patch::DigestOf(oldContent.Bytes());
            newDigest = patch::DigestOf(newContent.Bytes());
            identical = oldDigest == newDigest;
        }
        if (identical) {
            PrintLine(line::kIdentical, member);
            return true;
        }
        if (!AcceptForPatch(member) || !workFiles_.Write(kSourceFile, oldContent.Bytes()) ||
            !workFiles_.Write(kTargetFile, newContent.Bytes())) {
            return false;
        }
        // The contents are freed here: the diff program needs the memory.
    }
    if (!DiffWorkFiles(member)) return false;
    patched_[member] = oldDigest + '\n' + newDigest;
    PrintLine(line::kDiffed, member);
    workFiles_.Delete({kSourceFile, kTargetFile});
    return true;
}

bool PatchMaker::DiffWorkFiles(const char* member) {
    const std::string diffFile = DiffPathOf(member);
    if (!FitsCommandLine(diffFile)) {
        PrintProblem("a path with a double quote cannot be given to the diff program: \"" +
                     diffFile + '"');
        return false;
    }
    if (!DeleteEarlierOutput(diffFile)) return Fail(line::kCannotAdd, diffFile);
    if (!RunDiffProgram(inputs_.programDir, workFiles_.Path(kSourceFile),
                        workFiles_.Path(kTargetFile), diffFile)) {
        return false;
    }
    // The program's exit code is not looked at: what it wrote, or did not, decides.
    MemberContent diff;
    if (!ReadFile(diffFile.c_str(), diff) || !StoreMember(outputName_, member, diff.Bytes())) {
        return Fail(line::kCannotAdd, diffFile);
    }
    (void)platform::RemoveFile(diffFile.c_str());
    return true;
}

// Fixed: NAME.EXT.diff. ReplaceExtension takes the two endings as one.
std::string PatchMaker::DiffPathOf(const char* member) const {
    PathBuffer path = workFolder_.PathOf(member);
    const char* extension = ExtensionPart(path.c_str());
    const std::string withDiff = std::string(extension ? extension : "").append(kDiffEnding);
    ReplaceExtension(path, withDiff.c_str());
    return std::string(path.View());
}

bool PatchMaker::WriteLists() {
    bool written = true;
    for (const auto& [name, list] :
         {std::pair(patch::kAddedList, &added_), std::pair(patch::kDeletedList, &deleted_),
          std::pair(patch::kPatchedList, &patched_)}) {
        const std::string text = patch::FormatList(*list);
        const auto bytes = std::as_bytes(std::span(text));
        const FileMode kind = archive::IsStreamMark(bytes) ? kWriteCompressed : kWritePlain;
        written = WriteWhole(outputName_, name, kCreateOrTruncate | kind, bytes) && written;
    }
    return written;
}

void PatchMaker::ReportEmptyMembers() const {
    if (!emptyMembers_.Any()) return;
    PrintProblem(emptyMembers_.Text() + " cannot be stored; " +
                 (addsEmptyMember_
                      ? "the patch adds one, so patchapply will refuse it"
                      : "patchapply will omit " + std::string(emptyMembers_.One() ? "it" : "them") +
                            " from the new archive"));
}

bool PatchMaker::MoveOutOfWorkFolder() {
    const std::string path(patchPath_.View());
    if (!output_.MoveTo(path)) {
        KeepInWorkFolder();
        return false;
    }
    if (output_.CommitName()) return true;
    PrintProblem("cannot write \"" + path + "\" to the storage device");
    return false;
}

void PatchMaker::KeepInWorkFolder() {
    const std::string kept = UnfinishedPath();
    PrintProblem("cannot move the patch to \"" + std::string(patchPath_.View()) +
                 (output_.MoveTo(kept) ? "\"; it is kept as \"" + kept + '"' : "\""));
}

std::string PatchMaker::UnfinishedPath() const {
    return std::string(workFolder_.PathOf(FileNamePart(patchPath_.c_str())).View());
}

}  // namespace converter
