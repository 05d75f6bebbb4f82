// patchdiff: compares two archives member by member and writes the patch.
#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "KernelStandard/CompressedStream.h"
#include "KernelStandard/FileSubstList.h"
#include "converter/ArchiveCheck.h"
#include "converter/Console.h"
#include "converter/InputArchive.h"
#include "converter/PatchConverter.h"
#include "converter/PatchTools.h"
#include "kernel/Paths.h"
#include "patch/MD5.h"
#include "platform/Directories.h"

using namespace Vorn;

namespace {

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
    if (!patch::IsListName(member)) return true;
    PrintProblem("a patch keeps a list of its own under the name \"" + std::string(member) + "\"");
    return false;
}

// Opens a member if there is one. False when it is there and cannot be read.
[[nodiscard]] bool OpenIfThere(File& file, const InternedString& mount, const char* member) {
    const FileResult result = file.Open(mount, member, kReadDetect);
    return result == RES_OK || result == RES_FILENOTFOUND;
}

[[nodiscard]] bool SameBytes(std::span<const std::byte> a, std::span<const std::byte> b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

// Whether a member can be opened by its name. Reads nothing of it.
[[nodiscard]] bool Holds(const InternedString& mount, const char* member) {
    File file;
    return file.Open(mount, member, kReadPlain) == RES_OK;
}

}  // namespace

int PatchConverter::RunDiff() {
    for (const auto& [mount, path] :
         {std::pair(inputName_, &sourceArchivePath_), std::pair(otherName_, &otherArchivePath_)}) {
        // Damage is named; the members that can be read are compared all the same.
        if (KindOf(mount) == InputKind::Archive) {
            (void)IsWholeArchive(path->View(), Depth::Structure);
        }
    }
    int result = ConvertBase::Run();
    if (result == 0) {
        std::swap(inputName_, otherName_);
        secondPass_ = true;
        result = ConvertBase::Run();
        std::swap(inputName_, otherName_);
    }
    Subst(otherName_, nullptr);
    if (result == 0 && WriteLists() && CompleteOutput()) {
        ReportEmptyMembers();
        result = MoveOutOfWorkFolder();
    } else {
        result = 1;
    }
    DeleteWorkFolder();
    return result;
}

bool PatchConverter::ClearWorkFolder() const {
    const FolderContent content =
        SearchFolder(std::string(workDir_.View()), [this](auto file) { return IsRunsOwn(file); });
    if (content.foreign.empty()) {
        DeleteLeftovers(content);
        return true;
    }
    PrintProblem("the working folder \"" + std::string(workDir_.View()) +
                 "\" would be deleted and holds other files: \"" + content.foreign +
                 "\"; move them away or name another output folder");
    return false;
}

bool PatchConverter::IsRunsOwn(std::string_view file) const {
    constexpr std::string_view kDiffEnding = ".diff";
    if (file == FileNamePart(outputArchivePath_.c_str()) + std::string(kPartEnding)) return true;
    if (IsDiffProgramTemporary(file.substr(file.rfind('/') + 1))) return true;
    if (!file.ends_with(kDiffEnding)) return false;
    const std::string member(file.substr(0, file.size() - kDiffEnding.size()));
    return std::ranges::any_of(std::array{inputName_, otherName_}, [&](const auto& mount) {
        return FileSubstList::Instance().IsMounted(mount) && Holds(mount, member.c_str());
    });
}

bool PatchConverter::MakeWorkingFolder(const char* folder) {
    PathBuffer path = workDir_;
    AppendPathComponent(path, folder);
    if (workFolders_.Make(std::string(path.View()))) return true;
    PrintProblem("cannot create the folder \"" + std::string(path.View()) + "\"");
    return false;
}

bool PatchConverter::DiffMember(const char* member) {
    // The first pass has compared a member that both archives hold.
    if (secondPass_ && Holds(otherName_, member) && Holds(inputName_, member)) return true;
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
    NoteIfEmpty(member, walked, other);
    if (haveOther) return CompareMember(member, walked, other);

    MemberContent content;
    if (!ReadMember(inputName_, member, walked, content)) return false;
    const std::string digest = patch::DigestOf(content.Bytes());
    return secondPass_ ? RecordAdded(member, content, digest) : RecordRemoved(member, digest);
}

bool PatchConverter::CompareMember(const char* member, File& oldFile, File& newFile) {
    std::string oldDigest;
    std::string newDigest;
    {
        MemberContent oldContent;
        MemberContent newContent;
        if (!ReadMember(inputName_, member, oldFile, oldContent) ||
            !ReadMember(otherName_, member, newFile, newContent)) {
            return false;
        }
        // The digests decide. Equal bytes have equal ones, and comparing costs less than digesting.
        bool identical = SameBytes(oldContent.Bytes(), newContent.Bytes());
        if (!identical) {
            oldDigest = patch::DigestOf(oldContent.Bytes());
            newDigest = patch::DigestOf(newContent.Bytes());
            identical = oldDigest == newDigest;
        }
        if (identical) {
            PrintLine("Identical " + std::string(member));
            return true;
        }
        if (!workFiles_.Write(kSourceFile, oldContent.Bytes()) ||
            !workFiles_.Write(kTargetFile, newContent.Bytes())) {
            return false;
        }
        // The contents go here: the diff program needs the memory.
    }
    if (!DiffStaged(member, oldDigest, newDigest)) return false;
    workFiles_.Delete({kSourceFile, kTargetFile});
    return true;
}

void PatchConverter::NoteIfEmpty(const char* member, File& walked, File& other) {
    const bool added = secondPass_ && walked.Size() == 0;
    if (added || (other.IsOpen() && other.Size() == 0)) emptyMembers_.Note(member);
    addsEmptyMember_ = addsEmptyMember_ || added;
}

void PatchConverter::ReportEmptyMembers() const {
    if (!emptyMembers_.Any()) return;
    PrintProblem(emptyMembers_.Text() + " cannot be stored; " +
                 (addsEmptyMember_ ? "the patch adds one, so patchapply will refuse it"
                                   : "patchapply will leave them out of the new archive"));
}

bool PatchConverter::RecordRemoved(const char* member, const std::string& digest) {
    if (!FitsLists(member)) return false;
    deletedFiles_[member] = digest;
    PrintLine("Removed " + std::string(member));
    return true;
}

bool PatchConverter::RecordAdded(const char* member, const MemberContent& content,
                                 const std::string& digest) {
    if (!FitsPatch(member)) return false;
    if (!StoreMember(outputName_, member, content.Bytes())) {
        PrintLine("ERROR> Failed to add " + std::string(member));
        return false;
    }
    addedFiles_[member] = digest;
    PrintLine("Added " + std::string(member));
    return true;
}

bool PatchConverter::DiffStaged(const char* member, const std::string& oldDigest,
                                const std::string& newDigest) {
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
    if (!RunDiffProgram(programDir_.View(), workFiles_.Path(kSourceFile),
                        workFiles_.Path(kTargetFile), diffFile)) {
        PrintProblem("cannot start the diff program that belongs two folders above \"" +
                     std::string(programDir_.View()) + "\"");
        return false;
    }
    if (!CopyFileToMember(diffFile.c_str(), outputName_, member)) {
        PrintLine("ERROR> Failed to add " + diffFile);
        return false;
    }
    (void)platform::RemoveFile(diffFile.c_str());
    patchedFiles_[member] = oldDigest + '\n' + newDigest;
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
    for (const auto& [name, members] : {std::pair(patch::kAddedList, &addedFiles_),
                                        std::pair(patch::kDeletedList, &deletedFiles_),
                                        std::pair(patch::kPatchedList, &patchedFiles_)}) {
        const std::string text = patch::FormatList(*members);
        const auto bytes = std::as_bytes(std::span(text));
        const FileMode kind = archive::IsStreamMark(bytes) ? kWriteCompressed : kWritePlain;
        written = WriteWhole(outputName_, name, kCreateOrTruncate | kind, bytes) && written;
    }
    return written;
}

int PatchConverter::MoveOutOfWorkFolder() {
    if (!output_.MoveTo(std::string(outputArchivePath_.View()))) return KeepInWorkFolder();
    if (output_.CommitName()) return 0;
    PrintProblem("cannot write \"" + std::string(outputArchivePath_.View()) +
                 "\" to the storage device");
    return 1;
}

int PatchConverter::KeepInWorkFolder() {
    PathBuffer kept = workDir_;
    AppendPathComponent(kept, FileNamePart(outputArchivePath_.c_str()));
    const bool isKept = output_.MoveTo(std::string(kept.View()));
    PrintProblem("cannot move the patch to \"" + std::string(outputArchivePath_.View()) +
                 (isKept ? "\"; it is kept as \"" + std::string(kept.View()) + "\"" : "\""));
    return 1;
}

void PatchConverter::DeleteWorkFolder() {
    output_.Discard();
    workFolders_.DeleteEmpty();
    const std::string folder(workDir_.View());
    if (!platform::Exists(folder.c_str())) return;
    // A diff program that was killed left something.
    DeleteLeftovers(SearchFolder(folder, [this](auto file) { return IsRunsOwn(file); }));
    if (platform::Exists(folder.c_str())) {
        PrintProblem("the working folder \"" + folder + "\" is not empty and stays");
    }
}
