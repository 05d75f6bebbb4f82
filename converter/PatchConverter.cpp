// Preparing both operations, and what they share.
#include "converter/PatchConverter.h"

#include <algorithm>
#include <exception>

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "converter/Console.h"
#include "converter/InputArchive.h"
#include "converter/MemberCheck.h"
#include "converter/RunLock.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "kernel/String.h"
#include "platform/Directories.h"

using namespace Vorn;

namespace {

// Runs one step of an operation; what the kernel throws becomes a line and `failed`.
template <typename Result, typename Step>
[[nodiscard]] Result Guarded(Result failed, Step step) {
    try {
        return step();
    } catch (const Exception& error) {
        PrintProblem(error.GetReason());
    } catch (const std::exception& error) {
        PrintProblem(error.what());
    }
    return failed;
}

[[nodiscard]] bool IsUsableArchive(const char* path, std::initializer_list<const char*> endings) {
    return FitsPath(path) &&
           std::ranges::any_of(endings, [path](auto e) { return HasExtension(path, e); }) &&
           platform::Exists(path);
}

}  // namespace

void PatchConverter::PrintUsage() {
    PrintLine("// TODO.Alden: Print more usage");
    PrintUsageHint();
}

bool PatchConverter::Prepare(int argc, char** argv) {
    return Guarded(false, [&] {
        return PrepareArchives(argc, argv) &&
               (operation_ == OpDiff ? PrepareDiff(argv[4]) : PrepareApply());
    });
}

bool PatchConverter::PrepareArchives(int argc, char** argv) {
    if (!ConvertBase::Prepare(argc, argv) || argc < 5) return false;
    const InternedString word = Intern(argv[1]);
    if (CompareText(word, "patchdiff") == 0) operation_ = OpDiff;
    if (CompareText(word, "patchapply") == 0) operation_ = OpApply;
    if (operation_ == OpNone) {
        PrintLine("Invalid patch converter operation");
        return false;
    }
    if (!IsUsableArchive(argv[2], {"va", "pbk"})) {
        PrintLine(InvalidInputArchive(argv[2]));
        return false;
    }
    if (!IsUsableArchive(argv[3], {"va"})) {
        PrintLine(InvalidInputArchive(argv[3]));
        return false;
    }
    SetPath(sourceArchivePath_, argv[2]);
    SetPath(otherArchivePath_, argv[3]);
    otherName_ = Intern(FileNamePart(argv[3]));
    if (otherName_ == inputName_) {
        PrintLine(InvalidInputArchive(otherName_.View()));
        return false;
    }
    Subst(otherName_, argv[3]);
    return workFiles_.Open(programDir_.View());
}

bool PatchConverter::PrepareDiff(const char* outputFolder) {
    if (inputName_.Length() == 0 || inputName_.View() == "." || inputName_.View() == "..") {
        PrintProblem("\"" + std::string(inputName_.View()) + "\" cannot name a working folder");
        return false;
    }
    String folder(outputFolder);
    folder.RemoveChars("\"");
    SetPath(workDir_, folder.Text());
    AppendPathComponent(workDir_, inputName_.View());
    FormatInto(outputName_, "%s-diff", inputName_.Text());
    SetPath(outputArchivePath_, folder.Text());
    AppendPathComponent(outputArchivePath_, std::string(outputName_.View()) + ".va");

    const std::string place(folder.Text());
    if (!place.empty() && !outputFolders_.Make(place)) {
        PrintProblem("cannot create the folder \"" + place + "\"");
        return false;
    }
    if (!LockOutput()) return false;
    if (platform::GetEntryKind(outputArchivePath_.c_str()) != platform::EntryKind::None) {
        PrintProblem("\"" + std::string(outputArchivePath_.View()) +
                     "\" exists; move it away or name another output folder");
        return false;
    }
    return ClearWorkFolder() && MakeWorkingFolder("") && CreateOutput(workDir_);
}

bool PatchConverter::PrepareApply() {
    workDir_ = inputArchivePath_;
    StripFileName(workDir_, false);
    FileSubArchive::SetDefaultBuildVersion(File::GetArchiveBuildVersion(inputName_));
    FileSubArchive::SetDefaultProductCode(File::GetArchiveProductCode(inputName_));
    FormatInto(outputName_, "%s-tmp", inputName_.Text());
    outputArchivePath_ = workDir_;
    AppendPathComponent(outputArchivePath_, std::string(outputName_.View()) + ".va");
    const char* path = outputArchivePath_.c_str();
    for (const PathBuffer& input : {sourceArchivePath_, otherArchivePath_}) {
        if (!platform::IsSameFile(path, input.c_str())) continue;
        PrintProblem("the output \"" + std::string(path) + "\" is one of the inputs");
        return false;
    }
    if (!LockOutput()) return false;
    platform::FileStatus status;
    if (platform::GetStatus(path, status) && status.attributes != 0) {
        PrintProblem("cannot replace \"" + std::string(path) + "\"; move it away first");
        return false;
    }
    return CreateOutput(workDir_);
}

bool PatchConverter::LockOutput() {
    const std::string path(outputArchivePath_.View());
    const std::string lock = path + ".lock";
    if (WaitForLock(outputLock_, lock,
                    "another run is writing \"" + path + "\"; waiting for it to end")) {
        return true;
    }
    PrintProblem("cannot create \"" + path + "\": cannot create \"" + lock + "\" beside it");
    return false;
}

bool PatchConverter::CreateOutput(const PathBuffer& folder) {
    PathBuffer path = folder;
    AppendPathComponent(path, FileNamePart(outputArchivePath_.c_str()) + std::string(kPartEnding));
    if (output_.Create(outputName_, std::string(path.View()))) return true;
    PrintProblem("cannot create \"" + std::string(path.View()) + "\"");
    return false;
}

int PatchConverter::Run() {
    return Guarded(1, [this] { return operation_ == OpDiff ? RunDiff() : RunApply(); });
}

int PatchConverter::ProcessFolder(const char* folder) {
    return Guarded(1, [&] {
        const bool ready = operation_ != OpDiff || MakeWorkingFolder(folder);
        return ready ? ConvertBase::ProcessFolder(folder) : 1;
    });
}

int PatchConverter::ProcessFile(const char* member) {
    progress_.Step();
    switch (operation_) {
        case OpDiff:
            return DiffMember(member) ? 0 : 1;
        case OpApply:
            return ApplyMember(member) ? 0 : 1;
        default:
            return 1;
    }
}

bool PatchConverter::ReadMember(const InternedString& mount, const char* member, File& file,
                                MemberContent& content) const {
    if (!content.ReadAll(file)) return false;
    (void)CheckContent(mount, member, file, content);
    return true;
}

bool PatchConverter::CheckContent(const InternedString& mount, const char* member, const File& file,
                                  const MemberContent& content) const {
    if (AgreesWithCheckSum(mount, member, file, content.Bytes())) return true;
    // The second pass of patchdiff walks with the two names exchanged.
    const bool isSource = mount == (secondPass_ ? otherName_ : inputName_);
    const PathBuffer& archive = isSource ? sourceArchivePath_ : otherArchivePath_;
    PrintProblem("\"" + std::string(archive.View()) + "\" is damaged: the content of \"" + member +
                 "\" does not match its check sum; fetch the archive again");
    return false;
}

bool PatchConverter::CompleteOutput() {
    if (output_.Complete()) return true;
    PrintProblem("cannot complete \"" + std::string(outputArchivePath_.View()) + "\"");
    return false;
}
