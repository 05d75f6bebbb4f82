#include "converter/PatchApplier.h"

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "converter/ArchiveCheck.h"
#include "converter/Console.h"
#include "converter/FixedLines.h"
#include "converter/Guarded.h"
#include "converter/MemberCheck.h"
#include "converter/MemberCopy.h"
#include "converter/PatchTools.h"
#include "kernel/Paths.h"
#include "patch/MD5.h"
#include "platform/Directories.h"

namespace converter {

using namespace Vorn;

PatchApplier::PatchApplier(const Inputs& inputs, const WorkFiles& workFiles)
    : inputs_(inputs), workFiles_(workFiles) {}

bool PatchApplier::Prepare() {
    const InternedString& old = inputs_.old.mount;
    // The new archive carries what the old one does.
    FileSubArchive::SetDefaultBuildVersion(File::GetArchiveBuildVersion(old));
    FileSubArchive::SetDefaultProductCode(File::GetArchiveProductCode(old));
    SetPath(folder_, inputs_.old.path);
    StripFileName(folder_, false);
    const std::string name = std::string(old.View()) + "-tmp";
    outputName_ = Intern(name);
    outputPath_ = folder_;
    AppendPathComponent(outputPath_, name + ".va");

    const std::string path(outputPath_.View());
    for (const InputArchive* input : {&inputs_.old, &inputs_.other}) {
        if (!platform::IsSameFile(path.c_str(), input->path.c_str())) continue;
        PrintProblem("the output \"" + path + "\" is one of the inputs; rename that one");
        return false;
    }
    if (!LockOutput(outputLock_, path)) return false;
    platform::FileStatus status;
    if (platform::GetStatus(path.c_str(), status) && status.attributes != 0) {
        PrintProblem("cannot replace \"" + path + "\"; move it away first");
        return false;
    }
    return output_.Create(outputName_, path);
}

bool PatchApplier::Run(const OldArchive& old) {
    const bool good = InputsAreWhole() && ReadLists() && AddNewMembers() && old.walk();
    Subst(inputs_.other.mount, nullptr);
    if (!good) return false;
    old.close();
    // A result that comes with exit code 1 would be treated as a good one.
    if (!AllLinesPrinted() || !output_.Complete()) return false;
    StopIfAsked();
    return PutInPlace();
}

bool PatchApplier::PutInPlace() {
    const std::string path(outputPath_.View());
    if (!output_.MoveOver(path) || !output_.CommitName()) {
        PrintProblem("cannot put the new archive in place as \"" + path + '"');
        return false;
    }
    if (emptyMembers_.Any()) {
        PrintProblem(emptyMembers_.Text() + " cannot be stored and " +
                     (emptyMembers_.One() ? "is" : "are") + " omitted from the new archive");
    }
    return true;
}

bool PatchApplier::InputsAreWhole() const {
    // The steps that follow judge a file that is not an archive.
    const auto isWhole = [](const InputArchive& input, Depth depth) {
        return KindOf(input) != InputKind::Archive || JudgeArchive(input.path, depth);
    };
    // The content of the old archive is checked while it is copied.
    return isWhole(inputs_.other, Depth::Content) && isWhole(inputs_.old, Depth::Structure);
}

bool PatchApplier::ReadLists() {
    const InputKind kind = KindOf(inputs_.other);
    if (kind == InputKind::Archive) {
        return ReadList(patch::kAddedList, 1, added_) &&
               ReadList(patch::kDeletedList, 1, deleted_) &&
               ReadList(patch::kPatchedList, 2, patched_);
    }
    const bool readable = kind == InputKind::NoArchive;
    PrintProblem('"' + inputs_.other.path +
                 (readable ? "\" is not an archive, so it changes nothing" : "\" cannot be read"));
    return readable;
}

bool PatchApplier::ReadList(const char* name, int digestLines, patch::List& list) const {
    File file;
    const FileResult opened = file.Open(inputs_.other.mount, name, kReadDetect);
    if (opened == RES_FILENOTFOUND) {
        PrintProblem("the patch has no list \"" + std::string(name) + '"');
        return true;
    }
    if (opened != RES_OK) {
        PrintProblem("cannot open \"" + std::string(name) + "\" of the patch");
        return false;
    }
    MemberContent content;
    if (!content.ReadAll(file)) return false;
    const auto bytes = content.Bytes();
    list =
        patch::ParseList({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, digestLines);
    return true;
}

bool PatchApplier::AddNewMembers() {
    for (const auto& [name, digest] : added_) {
        StopIfAsked();
        if (CopyToOutput(inputs_.other, name.c_str())) continue;
        if (File::Exists(inputs_.other.mount, name.c_str()) != RES_OK) {
            PrintProblem("the patch lists \"" + name +
                         "\" as added and does not hold it; a member without content cannot be "
                         "added");
        }
        return Fail(line::kCannotAddListed, name);
    }
    return true;
}

bool PatchApplier::ProcessMember(const char* member) {
    StopIfAsked();
    progress_.Step();
    if (*member == '\0') return Fail(line::kNoMemberName, {});
    if (deleted_.contains(member)) {
        PrintLine(line::kRemoved, member);
        return true;
    }
    const auto patched = patched_.find(member);
    return patched == patched_.end() ? CopyUnchanged(member) : PatchMember(member, patched->second);
}

bool PatchApplier::CopyUnchanged(const char* member) {
    if (!CopyToOutput(inputs_.old, member)) return Fail(line::kCannotAddUnchanged, member);
    PrintLine(line::kUnchanged, member);
    return true;
}

bool PatchApplier::CopyToOutput(const InputArchive& input, const char* member) {
    File file;
    MemberContent content;
    if (file.Open(input.mount, member, kReadDetect) != RES_OK || !content.ReadAll(file) ||
        !CheckContent(input, member, file, content.Bytes())) {
        return false;
    }
    if (content.Bytes().empty()) emptyMembers_.Note(member);
    return StoreMember(outputName_, member, content.Bytes());
}

bool PatchApplier::PatchMember(const char* member, const std::string& digests) {
    if (!StageMember(member, digests) || !RebuildMember(member)) return false;
    workFiles_.Delete({kDiffFile, kSourceFile, kOutFile});
    PrintLine(line::kPatched, member);
    return true;
}

bool PatchApplier::StageMember(const char* member, const std::string& digests) const {
    File old;
    File diff;
    const bool haveOld = old.Open(inputs_.old.mount, member, kReadDetect) == RES_OK;
    const bool haveDiff = diff.Open(inputs_.other.mount, member, kReadDetect) == RES_OK;
    if (!haveOld || !haveDiff) return Fail(line::kOpenError, member);

    MemberContent content;
    if (!content.ReadAll(old)) return false;
    // The digest decides what becomes of a damaged member.
    (void)CheckContent(inputs_.old, member, old, content.Bytes());
    if (patch::DigestOf(content.Bytes()) != patch::OldDigest(digests)) {
        return Fail(line::kDigestError, member);
    }
    if (!workFiles_.Write(kSourceFile, content.Bytes()) || !content.ReadAll(diff)) return false;
    (void)CheckContent(inputs_.other, member, diff, content.Bytes());
    return workFiles_.Write(kDiffFile, content.Bytes());
}

bool PatchApplier::RebuildMember(const char* member) {
    const std::string outFile = workFiles_.Path(kOutFile);
    if (!DeleteEarlierOutput(outFile)) return Fail(line::kCannotAddPatched, outFile);
    std::uint32_t exitCode = 0;
    if (!RunPatchProgram(inputs_.programDir, workFiles_.Path(kSourceFile),
                         workFiles_.Path(kDiffFile), outFile, exitCode)) {
        return Fail(line::kPatchError, member);
    }
    if (exitCode != 0) {
        PrintLine(line::kPatchError, member);
        return Fail(line::kExitCode, std::to_string(exitCode));
    }
    MemberContent content;
    if (!ReadFile(outFile.c_str(), content)) return Fail(line::kCannotAddPatched, outFile);
    if (content.Bytes().empty()) emptyMembers_.Note(member);
    if (!StoreMember(outputName_, member, content.Bytes())) {
        return Fail(line::kCannotAddPatched, outFile);
    }
    return true;
}

}  // namespace converter
