// patchdiff and patchapply: makes a patch between two archives, and applies one.
//
// Standard output carries the operations' fixed lines. Beyond them, on standard error, one line
// says why when a run fails for a reason that has no line of its own.
//
// Decided here, where the operations leave it open or would lose something in silence:
// - A member that cannot be read whole, a working file or a member that cannot be written whole
//   (a full disk), and an index that cannot be written end the run with 1.
// - A patch keeps its lists beside the members, so an added or changed member with the name of a
//   list ends the run with 1.
// - A list that begins like a compressed stream is stored compressed, for the reason told in
//   MemberCopy.h. A patch without one of its lists is applied without it, one that is no archive
//   without any, and a line says so. One that cannot be read is refused.
// - A member name with a line feed has no place in the lists, one with a double quote none on the
//   diff program's command line: such a changed member ends the run with 1.
// - An output that is one of the inputs, or that cannot be deleted, is refused.
// - patchdiff deletes its working folder at the end, so it refuses one that holds anything but what
//   an earlier run left there: folders, diff files and the unfinished patch.
// - When the finished patch cannot be moved because its name is taken, it stays in the working
//   folder, a line says where, and the result is 1.
// - Runs that share a program folder wait for each other, for they share the working files.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "converter/ConvertBase.h"
#include "converter/MemberCopy.h"
#include "converter/PatchLists.h"
#include "converter/Progress.h"
#include "converter/WorkFolderLock.h"

enum PatchOperation : int { OpNone = 0, OpDiff = 1, OpApply = 2 };

class PatchConverter final : public ConvertBase {
public:
    void PrintUsage() override;
    [[nodiscard]] bool Prepare(int argc, char** argv) override;
    [[nodiscard]] int Run() override;
    [[nodiscard]] int ProcessFolder(const char* folder) override;
    [[nodiscard]] int ProcessFile(const char* member) override;

private:
    // Preparing.
    [[nodiscard]] bool PrepareArchives(int argc, char** argv);
    [[nodiscard]] bool PrepareDiff(const char* outputFolder);
    [[nodiscard]] bool PrepareApply();
    [[nodiscard]] bool CreateOutput();

    // patchdiff.
    [[nodiscard]] int RunDiff();
    // Mirrors a folder of the archives below the working folder.
    [[nodiscard]] bool MakeWorkingFolder(const char* folder) const;
    [[nodiscard]] bool DiffMember(const char* member);
    [[nodiscard]] bool DiffStaged(const char* member, const Vorn::InternedString& oldDigest,
                                  const Vorn::InternedString& newDigest);
    [[nodiscard]] bool RecordRemoved(const char* member, const Vorn::InternedString& digest);
    [[nodiscard]] bool RecordAdded(const char* member, Vorn::File& source,
                                   const Vorn::InternedString& digest);
    [[nodiscard]] bool WriteLists();
    [[nodiscard]] int MoveOutOfWorkFolder();
    [[nodiscard]] std::string DiffPathOf(const char* member) const;

    // patchapply.
    [[nodiscard]] int RunApply();
    [[nodiscard]] bool ReadLists();
    [[nodiscard]] bool ReadList(const char* list, int digestLines, MemberMap& members);
    [[nodiscard]] bool AddNewMembers();
    [[nodiscard]] bool ApplyMember(const char* member);
    [[nodiscard]] bool CopyUnchanged(const char* member);
    [[nodiscard]] bool PatchMember(const char* member, const Vorn::InternedString& digests);
    [[nodiscard]] bool RebuildMember(const char* member);

    // Both.
    [[nodiscard]] std::string WorkingFile(const char* name) const;
    // Writes an open member's content to a working file.
    [[nodiscard]] bool Stage(Vorn::File& member, const char* workingFile);
    // FileDigest of a working file; null, and said so, when it cannot be read.
    [[nodiscard]] Vorn::InternedString DigestOf(const char* workingFile) const;
    void DeleteWorkingFiles(std::initializer_list<const char*> names) const;
    // Completes the output archive on disk; its mount is closed in any case.
    [[nodiscard]] bool CloseOutput();

    PatchOperation operation_ = OpNone;
    Vorn::PathBuffer sourceArchivePath_;
    Vorn::InternedString otherName_;  // mount name: file name of the second archive
    Vorn::PathBuffer otherArchivePath_;
    Vorn::PathBuffer workDir_;
    Vorn::InternedString outputName_;
    Vorn::PathBuffer outputArchivePath_;
    bool secondPass_ = false;
    MemberMap addedFiles_;
    MemberMap patchedFiles_;
    MemberMap deletedFiles_;
    WorkFolderLock lock_;
    Progress progress_;
};
