// patchapply: rebuilds the new archive from the old one and a patch.
#include <string>
#include <utility>

#include "KernelResource/ArchiveDatabases.h"
#include "KernelStandard/FileSubstList.h"
#include "converter/ArchiveCheck.h"
#include "converter/Console.h"
#include "converter/InputArchive.h"
#include "converter/PatchConverter.h"
#include "converter/PatchTools.h"
#include "patch/MD5.h"

using namespace Vorn;

namespace {

[[nodiscard]] bool Fail(const std::string& line) {
    PrintLine(line);
    return false;
}

}  // namespace

int PatchConverter::RunApply() {
    const bool ready = InputsAreWhole() && ReadLists() && AddNewMembers();
    const int result = ready ? ConvertBase::Run() : 1;
    Subst(otherName_, nullptr);
    if (result != 0) return result;
    ReleaseArchiveDatabase(std::exchange(database_, nullptr));
    Subst(inputName_, nullptr);
    if (!CompleteOutput()) return 1;
    if (output_.MoveOver(std::string(outputArchivePath_.View())) && output_.CommitName()) {
        if (emptyMembers_.Any()) {
            PrintProblem(emptyMembers_.Text() +
                         " cannot be stored and are left out of the new archive");
        }
        return 0;
    }
    PrintProblem("cannot put the new archive in place as \"" +
                 std::string(outputArchivePath_.View()) + "\"");
    return 1;
}

bool PatchConverter::InputsAreWhole() const {
    // The steps that follow judge a file that is no archive.
    const auto isWhole = [](const InternedString& mount, const PathBuffer& path, Depth depth) {
        return KindOf(mount) != InputKind::Archive || IsWholeArchive(path.View(), depth);
    };
    // The content of the old archive is checked while it is copied.
    return isWhole(otherName_, otherArchivePath_, Depth::Content) &&
           isWhole(inputName_, sourceArchivePath_, Depth::Structure);
}

bool PatchConverter::ReadLists() {
    const InputKind kind = KindOf(otherName_);
    if (kind == InputKind::Archive) {
        return ReadList(patch::kAddedList, 1, addedFiles_) &&
               ReadList(patch::kDeletedList, 1, deletedFiles_) &&
               ReadList(patch::kPatchedList, 2, patchedFiles_);
    }
    const bool readable = kind == InputKind::NoArchive;
    PrintProblem("\"" + std::string(otherArchivePath_.View()) +
                 (readable ? "\" is no archive, so it changes nothing" : "\" cannot be read"));
    return readable;
}

bool PatchConverter::ReadList(const char* name, int digestLines, patch::List& list) {
    File file;
    const FileResult opened = file.Open(otherName_, name, kReadDetect);
    if (opened == RES_FILENOTFOUND) {
        PrintProblem("the patch has no list \"" + std::string(name) + "\"");
        return true;
    }
    if (opened != RES_OK) {
        PrintProblem("cannot open \"" + std::string(name) + "\"");
        return false;
    }
    MemberContent content;
    if (!content.ReadAll(file)) return false;
    const auto bytes = content.Bytes();
    list =
        patch::ParseList({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, digestLines);
    return true;
}

bool PatchConverter::AddNewMembers() {
    for (const auto& [name, digest] : addedFiles_) {
        if (!CopyToOutput(otherName_, name.c_str(), name.c_str())) {
            if (File::Exists(otherName_, name.c_str()) != RES_OK) {
                PrintProblem("the patch lists \"" + name +
                             "\" as added and does not hold it; a member without content cannot "
                             "be added");
            }
            return Fail("Failed to add " + name);
        }
    }
    return true;
}

bool PatchConverter::CopyToOutput(const InternedString& mount, const char* source,
                                  const char* member) {
    File file;
    MemberContent content;
    if (file.Open(mount, source, mount ? kReadDetect : kReadPlain) != RES_OK) return false;
    if (!content.ReadAll(file)) return false;
    if (mount && !CheckContent(mount, source, file, content)) return false;
    if (content.Bytes().empty()) emptyMembers_.Note(member);
    return StoreMember(outputName_, member, content.Bytes());
}

bool PatchConverter::ApplyMember(const char* member) {
    if (*member == '\0') return Fail(">>>> OPEN ERROR - No File!");
    if (deletedFiles_.contains(member)) {
        PrintLine("Removed " + std::string(member));
        return true;
    }
    const auto patched = patchedFiles_.find(member);
    return patched == patchedFiles_.end() ? CopyUnchanged(member)
                                          : PatchMember(member, patched->second);
}

bool PatchConverter::CopyUnchanged(const char* member) {
    if (!CopyToOutput(inputName_, member, member)) {
        return Fail("ERROR> Failed to add unchanged file " + std::string(member));
    }
    PrintLine("Unchanged " + std::string(member));
    return true;
}

bool PatchConverter::PatchMember(const char* member, const std::string& digests) {
    {
        File old;
        File diff;
        const bool haveOld = old.Open(inputName_, member, kReadDetect) == RES_OK;
        const bool haveDiff = diff.Open(otherName_, member, kReadDetect) == RES_OK;
        if (!haveOld || !haveDiff) return Fail(">>>> OPEN ERROR " + std::string(member));
        MemberContent content;
        if (!ReadMember(inputName_, member, old, content)) return false;
        if (patch::DigestOf(content.Bytes()) != patch::OldDigest(digests)) {
            return Fail(">>>> MD5 ERROR " + std::string(member));
        }
        if (!workFiles_.Write(kSourceFile, content.Bytes()) ||
            !ReadMember(otherName_, member, diff, content) ||
            !workFiles_.Write(kDiffFile, content.Bytes())) {
            return false;
        }
    }
    if (!RebuildMember(member)) return false;
    workFiles_.Delete({kDiffFile, kSourceFile, kOutFile});
    PrintLine("Patched " + std::string(member));
    return true;
}

bool PatchConverter::RebuildMember(const char* member) {
    const std::string outFile = workFiles_.Path(kOutFile);
    if (!DeleteEarlierOutput(outFile)) {
        return Fail("ERROR> Failed to add patched file " + outFile);
    }
    std::uint32_t exitCode = 0;
    const bool started = RunPatchProgram(programDir_.View(), workFiles_.Path(kSourceFile),
                                         workFiles_.Path(kDiffFile), outFile, exitCode);
    if (!started || exitCode != 0) PrintLine(">>>> PATCH ERROR " + std::string(member));
    if (!started) {
        PrintProblem("cannot start the patch program that belongs in \"" +
                     std::string(programDir_.View()) + "\"");
        return false;
    }
    if (exitCode != 0) return Fail(">>>> EXIT CODE:  " + std::to_string(exitCode));
    if (!CopyToOutput(InternedString(), outFile.c_str(), member)) {
        return Fail("ERROR> Failed to add patched file " + outFile);
    }
    return true;
}
