// patchdiff: compares two archives member by member and writes the patch.
#include <utility>

#include "KernelStandard/CompressedStream.h"
#include "KernelStandard/FileSubstList.h"
#include "converter/Console.h"
#include "converter/PatchConverter.h"
#include "converter/PatchTools.h"
#include "kernel/Paths.h"

using namespace Vorn;

namespace {

constexpr const char* kSourceFile = "srcFile";
constexpr const char* kTargetFile = "dstFile";

// A name that the lists can hold: one line.
[[nodiscard]] bool FitsLists(std::string_view member) {
    if (member.find('\n') == std::string_view::npos) return true;
    PrintProblem("a member name with a line feed has no place in a patch: \"" +
                 std::string(member) + "\"");
    return false;
}

// A name under which the patch can hold something.
[[nodiscard]] bool FitsPatch(const char* member) {
    if (!FitsLists(member)) return false;
    if (!IsListName(member)) return true;
    PrintProblem("a patch keeps a list of its own under the name \"" + std::string(member) + "\"");
    return false;
}

// Opens a member if there is one. False when it is there and cannot be read.
[[nodiscard]] bool OpenIfThere(File& file, const InternedString& mount, const char* member) {
    const FileResult result = file.Open(mount, member, kReadDetect);
    return result == RES_OK || result == RES_FILENOTFOUND;
}

}  // namespace

int PatchConverter::RunDiff() {
    int result = ConvertBase::Run();
    if (result == 0) {
        std::swap(inputName_, otherName_);
        secondPass_ = true;
        result = ConvertBase::Run();
        std::swap(inputName_, otherName_);
    }
    Subst(otherName_, nullptr);
    if (result != 0) return result;
    const bool listed = WriteLists();
    if (!CloseOutput() || !listed) return 1;
    return MoveOutOfWorkFolder();
}

bool PatchConverter::DiffMember(const char* member) {
    File walked;
    File other;
    if (!OpenIfThere(walked, inputName_, member) || !OpenIfThere(other, otherName_, member)) {
        PrintProblem("cannot read \"" + std::string(member) + "\"");
        return false;
    }
    const bool haveOther = other.IsOpen();
    if (!walked.IsOpen()) {
        if (!haveOther) {
            PrintProblem("\"" + std::string(member) +
                         "\" cannot be opened by its name and is left out");
        }
        return !haveOther;
    }
    if (secondPass_ && haveOther) return true;
    if (!Stage(walked, kSourceFile)) return false;

    const InternedString walkedDigest = DigestOf(kSourceFile);
    if (!walkedDigest) return false;
    bool done = false;
    if (haveOther) {
        if (!Stage(other, kTargetFile)) return false;
        const InternedString otherDigest = DigestOf(kTargetFile);
        done = otherDigest && DiffStaged(member, walkedDigest, otherDigest);
    } else {
        done = secondPass_ ? RecordAdded(member, walked, walkedDigest)
                           : RecordRemoved(member, walkedDigest);
    }
    if (done) DeleteWorkingFiles({kSourceFile, kTargetFile});
    return done;
}

bool PatchConverter::RecordRemoved(const char* member, const InternedString& digest) {
    if (!FitsLists(member)) return false;
    deletedFiles_[Intern(member)] = digest;
    PrintLine("Removed " + std::string(member));
    return true;
}

bool PatchConverter::RecordAdded(const char* member, File& source, const InternedString& digest) {
    if (!FitsPatch(member)) return false;
    if (!CopyOpenFile(outputName_, member, source)) {
        PrintLine("ERROR> Failed to add " + std::string(member));
        return false;
    }
    addedFiles_[Intern(member)] = digest;
    PrintLine("Added " + std::string(member));
    return true;
}

bool PatchConverter::DiffStaged(const char* member, const InternedString& oldDigest,
                                const InternedString& newDigest) {
    if (oldDigest == newDigest) {
        PrintLine("Identical " + std::string(member));
        return true;
    }
    if (!FitsPatch(member)) return false;
    const std::string diffFile = DiffPathOf(member);
    if (!FitsCommandLine(diffFile)) {
        PrintProblem("a path with a double quote cannot be given to the diff program: \"" +
                     diffFile + "\"");
        return false;
    }
    if (!DeleteEarlierOutput(diffFile)) {
        PrintLine("ERROR> Failed to add " + diffFile);
        return false;
    }
    if (!RunDiffProgram(programDir_.View(), WorkingFile(kSourceFile), WorkingFile(kTargetFile),
                        diffFile)) {
        PrintProblem("cannot start the diff program that belongs two folders above \"" +
                     std::string(programDir_.View()) + "\"");
        return false;
    }
    if (!CopyMember(InternedString(), diffFile.c_str(), outputName_, member)) {
        PrintLine("ERROR> Failed to add " + diffFile);
        return false;
    }
    File::Delete(diffFile.c_str());
    FormatInto(patchedFiles_[Intern(member)], "%s\n%s", oldDigest.Text(), newDigest.Text());
    PrintLine("Diffed " + std::string(member));
    return true;
}

std::string PatchConverter::DiffPathOf(const char* member) const {
    PathBuffer path = workDir_;
    AppendPathComponent(path, member);
    const char* extension = ExtensionPart(path.c_str());
    const std::string withDiff = std::string(extension != nullptr ? extension : "") + ".diff";
    ReplaceExtension(path, withDiff.c_str());
    return std::string(path.View());
}

bool PatchConverter::WriteLists() {
    bool written = true;
    for (const auto& [name, members] :
         {std::pair(kAddedList, &addedFiles_), std::pair(kDeletedList, &deletedFiles_),
          std::pair(kPatchedList, &patchedFiles_)}) {
        const std::string text = FormatList(*members);
        const auto bytes = std::as_bytes(std::span(text));
        const FileMode kind = IsStreamMark(bytes) ? kWriteCompressed : kWritePlain;
        written = WriteWhole(outputName_, name, kCreateOrTruncate | kind, bytes) && written;
    }
    return written;
}

int PatchConverter::MoveOutOfWorkFolder() {
    PathBuffer target = outputArchivePath_;
    RemoveLastComponent(target);
    if (!File::Rename(outputArchivePath_.c_str(), target.c_str())) {
        PrintProblem("cannot move the patch to \"" + std::string(target.View()) +
                     "\"; it is kept as \"" + std::string(outputArchivePath_.View()) + "\"");
        return 1;
    }
    if (!File::DeleteDirectory(workDir_.c_str())) {
        PrintProblem("cannot delete the working folder \"" + std::string(workDir_.View()) + "\"");
    }
    return 0;
}
