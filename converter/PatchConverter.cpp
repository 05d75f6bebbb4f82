// Preparing both operations, and what they share.
#include "converter/PatchConverter.h"

#include <algorithm>
#include <exception>

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "converter/Console.h"
#include "converter/FileDigest.h"
#include "converter/InputArchive.h"
#include "converter/WorkFolder.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "kernel/String.h"
#include "platform/Directories.h"
#include "platform/Processes.h"

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
    lock_.Acquire(platform::ProgramPath().c_str());
    return true;
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
    if (!HoldsOnlyLeftovers(workDir_.View(), std::string(outputName_.View()) + ".va")) {
        PrintProblem("the working folder \"" + std::string(workDir_.View()) +
                     "\" holds other files and would be deleted; name another output folder");
        return false;
    }
    if (!File::MakePath(workDir_.c_str())) {
        PrintProblem("cannot create the working folder \"" + std::string(workDir_.View()) + "\"");
        return false;
    }
    return CreateOutput();
}

bool PatchConverter::PrepareApply() {
    workDir_ = inputArchivePath_;
    StripFileName(workDir_, false);
    FileSubArchive::SetDefaultBuildVersion(File::GetArchiveBuildVersion(inputName_));
    FileSubArchive::SetDefaultProductCode(File::GetArchiveProductCode(inputName_));
    FormatInto(outputName_, "%s-tmp", inputName_.Text());
    return CreateOutput();
}

bool PatchConverter::CreateOutput() {
    outputArchivePath_ = workDir_;
    AppendPathComponent(outputArchivePath_, std::string(outputName_.View()) + ".va");
    const char* path = outputArchivePath_.c_str();
    for (const PathBuffer& input : {sourceArchivePath_, otherArchivePath_}) {
        if (!platform::IsSameFile(path, input.c_str())) continue;
        PrintProblem("the output \"" + std::string(path) + "\" is one of the inputs");
        return false;
    }
    if (!File::Delete(path) && File::Exists(path) == RES_OK) {
        PrintProblem("cannot replace \"" + std::string(path) + "\"; move it away first");
        return false;
    }
    try {
        Subst(outputName_, path, true);
    } catch (const FileEx&) {
        PrintProblem("cannot create \"" + std::string(path) + "\"");
        return false;
    }
    return true;
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

bool PatchConverter::MakeWorkingFolder(const char* folder) const {
    PathBuffer path = workDir_;
    AppendPathComponent(path, folder);
    if (File::MakePath(path.c_str())) return true;
    PrintProblem("cannot create the folder \"" + std::string(path.View()) + "\"");
    return false;
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

std::string PatchConverter::WorkingFile(const char* name) const {
    PathBuffer path = programDir_;
    AppendPathComponent(path, name);
    return std::string(path.View());
}

bool PatchConverter::Stage(File& member, const char* workingFile) {
    constexpr FileMode kWriteWorkingFile = kCreateOrTruncate | kWritePlain;
    MemberContent content;
    return content.ReadAll(member) && WriteWhole(InternedString(), WorkingFile(workingFile).c_str(),
                                                 kWriteWorkingFile, content.Bytes());
}

InternedString PatchConverter::DigestOf(const char* workingFile) const {
    const std::string path = WorkingFile(workingFile);
    InternedString digest = FileDigest(path.c_str());
    if (!digest) PrintProblem("cannot read the working file \"" + path + "\"");
    return digest;
}

void PatchConverter::DeleteWorkingFiles(std::initializer_list<const char*> names) const {
    for (const char* name : names) File::Delete(WorkingFile(name).c_str());
}

bool PatchConverter::CloseOutput() {
    FileSubstList& list = FileSubstList::Instance();
    bool complete = true;
    for (FileSub* backend : list.Collect(*list.FindSubst(outputName_))) {
        complete = static_cast<FileSubArchive*>(backend)->Complete() && complete;
    }
    Subst(outputName_, nullptr);
    if (!complete) {
        PrintProblem("cannot complete \"" + std::string(outputArchivePath_.View()) + "\"");
    }
    return complete;
}
