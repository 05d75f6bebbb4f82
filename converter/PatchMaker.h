// patchdiff: compares two archives member by member and writes the patch.
//
// Decided here, where the fixed behaviour leaves it open:
// - A member that does not agree with its check sum is named and taken as it is.
// - A patch keeps its lists beside the members, so an added or changed member with the name of a
//   list ends the run with 1. So does a changed member whose name the lists cannot hold (a line
//   feed) or the diff program's command line cannot (a double quote).
// - A list that begins like a compressed stream is stored compressed, for the reason that
//   MemberCopy.h gives.
// - The working folder is deleted at the end, also after a failure. One that holds anything but
//   leftovers of a killed run is refused: folders, diff files of members of the two archives, the
//   unfinished patch and the diff program's temporary files.
// - A run whose result's name is taken is refused. If something takes that name during the run, the
//   patch stays in the working folder, a line says where, and the run fails.
#pragma once

#include <string>
#include <string_view>

#include "converter/EmptyMembers.h"
#include "converter/MemberCopy.h"
#include "converter/Operation.h"
#include "converter/OutputArchive.h"
#include "converter/Progress.h"
#include "converter/WorkFiles.h"
#include "converter/WorkFolder.h"
#include "kernel/PathBuffer.h"
#include "patch/Lists.h"
#include "platform/PathLock.h"

namespace converter {

class PatchMaker final : public Operation {
public:
    // `inputs` and `workFiles` outlive the operation. Double quotes in `outputFolder` are removed:
    // a shell leaves one when a quoted folder ends in a backslash.
    PatchMaker(const Inputs& inputs, const WorkFiles& workFiles, const char* outputFolder);

    [[nodiscard]] bool Prepare() override;
    [[nodiscard]] bool Run(const OldArchive& old) override;
    // Mirrors the folder below the working folder, where the diff program writes.
    [[nodiscard]] bool EnterFolder(const char* folder) override;
    // The first pass: a member of the old archive.
    [[nodiscard]] bool ProcessMember(const char* member) override;

private:
    [[nodiscard]] bool MakePatch(const OldArchive& old);
    // Returns whether a file of the working folder is what a run with these archives writes there.
    [[nodiscard]] bool IsRunsOwn(std::string_view file) const;
    [[nodiscard]] std::string DiffPathOf(const char* member) const;
    // The patch in the working folder, before kPartEnding.
    [[nodiscard]] std::string UnfinishedPath() const;

    // The second pass: finds what only the new archive has.
    [[nodiscard]] int WalkNewFolder(const char* folder);
    [[nodiscard]] bool ProcessNewMember(const char* member);

    [[nodiscard]] bool RecordRemoved(const char* member, Vorn::File& oldFile);
    [[nodiscard]] bool RecordAdded(const char* member, Vorn::File& newFile);
    // Compares a member of both archives, and stores the diff of one that changed.
    [[nodiscard]] bool CompareMember(const char* member, Vorn::File& oldFile, Vorn::File& newFile);
    [[nodiscard]] bool DiffWorkFiles(const char* member);

    [[nodiscard]] bool WriteLists();
    void ReportEmptyMembers() const;
    [[nodiscard]] bool MoveOutOfWorkFolder();
    void KeepInWorkFolder();

    const Inputs& inputs_;
    const WorkFiles& workFiles_;
    const std::string outputFolder_;
    Vorn::InternedString outputName_;  // mount name of the patch
    Vorn::PathBuffer patchPath_;       // of the result

    patch::List added_;
    patch::List patched_;
    patch::List deleted_;
    EmptyMembers emptyMembers_;  // of the new archive; patchapply cannot store them
    bool addsEmptyMember_ = false;
    Progress progress_;

    // From here on the order counts: what a failed run made is deleted from the last to the first.
    MadeFolders outputFolders_;
    platform::PathLock outputLock_;
    WorkFolder workFolder_;
    OutputArchive output_;
};

}  // namespace converter
