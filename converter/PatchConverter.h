// patchdiff and patchapply: makes a patch between two archives, and applies one.
//
// Standard output carries the operations' fixed lines. Beyond them, on standard error, one line
// says why when a run fails for a reason that has no line of its own.
//
// Decided here, where the operations leave it open or would lose something in silence:
// - Members without content are never stored. One line at the end names how many they were.
// - patchapply judges the patch before it writes: one whose promised index is missing, or that is
//   damaged in any way, ends the run with 1. So does an old archive without its promised index, or
//   with entries that contradict it: members would be missing from the result.
// - A member of an input that does not agree with its check sum is named. patchdiff takes it as it
//   is; patchapply ends with 1 rather than copy it.
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
// - patchdiff deletes its working folder at the end, also after a failure. It refuses one that
//   holds anything but leftovers of a killed run: folders, diff files of members of the two
//   archives, the unfinished patch and the diff program's temporary files.
// - patchdiff refuses to start when its result's name is taken. When something takes that name
//   during the run, the patch stays in the working folder, a line says where, and the result is 1.
// - Both operations write their result under a name of its own ("...va.part"), and rename it when
// it
//   is whole and on the storage device. After a failure there is no new archive, and an earlier
//   run's stays: only what this run made is deleted.
// - Runs that share a program folder wait for each other, for they share the working files (see
//   WorkFiles.h); so do runs that write the same result.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "converter/ConvertBase.h"
#include "converter/EmptyMembers.h"
#include "converter/MemberCopy.h"
#include "converter/OutputArchive.h"
#include "converter/Progress.h"
#include "converter/WorkFiles.h"
#include "converter/WorkFolder.h"
#include "patch/Lists.h"
#include "platform/PathLock.h"

enum PatchOperation : int { OpNone = 0, OpDiff = 1, OpApply = 2 };

// After the name of an archive that is not whole yet.
inline constexpr const char* kPartEnding = ".part";

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
    // Waits until no other run writes the result.
    [[nodiscard]] bool LockOutput();
    // Creates the archive that becomes the result in `folder`.
    [[nodiscard]] bool CreateOutput(const Vorn::PathBuffer& folder);

    // patchdiff.
    [[nodiscard]] int RunDiff();
    // Deletes what a killed run left in the working folder. False when it holds something else.
    [[nodiscard]] bool ClearWorkFolder() const;
    // Whether a file of the working folder is what a run with these archives writes there.
    [[nodiscard]] bool IsRunsOwn(std::string_view file) const;
    // Mirrors a folder of the archives below the working folder.
    [[nodiscard]] bool MakeWorkingFolder(const char* folder);
    [[nodiscard]] bool DiffMember(const char* member);
    // Compares a member of both archives; writes the working files if it changed.
    [[nodiscard]] bool CompareMember(const char* member, Vorn::File& oldFile, Vorn::File& newFile);
    [[nodiscard]] bool DiffStaged(const char* member, const std::string& oldDigest,
                                  const std::string& newDigest);
    [[nodiscard]] bool RecordRemoved(const char* member, const std::string& digest);
    [[nodiscard]] bool RecordAdded(const char* member, const MemberContent& content,
                                   const std::string& digest);
    // Notes a member that the new archive holds without content; `other` may be closed.
    void NoteIfEmpty(const char* member, Vorn::File& walked, Vorn::File& other);
    void ReportEmptyMembers() const;
    [[nodiscard]] bool WriteLists();
    [[nodiscard]] int MoveOutOfWorkFolder();
    [[nodiscard]] int KeepInWorkFolder();
    void DeleteWorkFolder();
    [[nodiscard]] std::string DiffPathOf(const char* member) const;

    // patchapply.
    [[nodiscard]] int RunApply();
    // Judges the patch, and the structure of the old archive, before anything is written.
    [[nodiscard]] bool InputsAreWhole() const;
    [[nodiscard]] bool ReadLists();
    [[nodiscard]] bool ReadList(const char* name, int digestLines, patch::List& list);
    [[nodiscard]] bool AddNewMembers();
    // Copies a member, or a file of the file system, into the new archive. False if it cannot be
    // read or stored whole, and for a member that does not agree with its check sum.
    [[nodiscard]] bool CopyToOutput(const Vorn::InternedString& mount, const char* source,
                                    const char* member);
    [[nodiscard]] bool ApplyMember(const char* member);
    [[nodiscard]] bool CopyUnchanged(const char* member);
    [[nodiscard]] bool PatchMember(const char* member, const std::string& digests);
    [[nodiscard]] bool RebuildMember(const char* member);

    // Both.
    // Reads the open `file` whole; names a damaged member and continues, since the digests decide
    // what becomes of it.
    [[nodiscard]] bool ReadMember(const Vorn::InternedString& mount, const char* member,
                                  Vorn::File& file, MemberContent& content) const;
    // False, after a line on standard error, if a member does not agree with its check sum.
    [[nodiscard]] bool CheckContent(const Vorn::InternedString& mount, const char* member,
                                    const Vorn::File& file, const MemberContent& content) const;
    // Completes the output archive on disk; its mount is closed in any case.
    [[nodiscard]] bool CompleteOutput();

    PatchOperation operation_ = OpNone;
    Vorn::PathBuffer sourceArchivePath_;
    Vorn::InternedString otherName_;  // mount name: file name of the second archive
    Vorn::PathBuffer otherArchivePath_;
    Vorn::PathBuffer workDir_;
    Vorn::InternedString outputName_;
    Vorn::PathBuffer outputArchivePath_;  // of the result
    bool secondPass_ = false;
    patch::List addedFiles_;
    patch::List patchedFiles_;
    patch::List deletedFiles_;
    EmptyMembers emptyMembers_;  // of the new archive; patchapply cannot store them
    bool addsEmptyMember_ = false;
    WorkFiles workFiles_;
    // From here on the order counts: what a failed run made is deleted from the last to the first.
    MadeFolders outputFolders_;
    platform::PathLock outputLock_;
    MadeFolders workFolders_;
    OutputArchive output_;
    Progress progress_;
};
