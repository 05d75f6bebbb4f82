// patchapply: rebuilds the new archive from the old one and a patch, beside the old one.
//
// Decided here, where the fixed behaviour leaves it open:
// - The patch is judged before anything is written: one whose promised index is missing, or that is
//   damaged in any way, fails the run. So does an old archive without its promised index, or with
//   entries that contradict it: members would be missing from the result.
// - A member that does not agree with its check sum fails the run rather than be copied.
// - A patch without one of its lists is applied without it, one that is not an archive without any,
//   and a line says so. One that cannot be read is refused.
#pragma once

#include <string>

#include "converter/EmptyMembers.h"
#include "converter/Operation.h"
#include "converter/OutputArchive.h"
#include "converter/Progress.h"
#include "converter/WorkFiles.h"
#include "kernel/PathBuffer.h"
#include "patch/Lists.h"
#include "platform/PathLock.h"

namespace converter {

class PatchApplier final : public Operation {
public:
    // `inputs` and `workFiles` outlive the operation.
    PatchApplier(const Inputs& inputs, const WorkFiles& workFiles);

    [[nodiscard]] bool Prepare() override;
    [[nodiscard]] bool Run(const OldArchive& old) override;
    [[nodiscard]] bool EnterFolder(const char* /*folder*/) override { return true; }
    [[nodiscard]] bool ProcessMember(const char* member) override;

private:
    // Judges the patch, and the structure of the old archive, before anything is written.
    [[nodiscard]] bool InputsAreWhole() const;
    [[nodiscard]] bool ReadLists();
    [[nodiscard]] bool ReadList(const char* name, int digestLines, patch::List& list) const;

    [[nodiscard]] bool AddNewMembers();
    [[nodiscard]] bool CopyUnchanged(const char* member);
    [[nodiscard]] bool PatchMember(const char* member, const std::string& digests);
    // Writes what the patch program needs. False, after a line, if the old content is not the one
    // that the patch was made from.
    [[nodiscard]] bool StageMember(const char* member, const std::string& digests) const;
    [[nodiscard]] bool RebuildMember(const char* member);
    // Copies a member into the new archive. False if it cannot be read or stored whole, and if it
    // does not agree with its check sum.
    [[nodiscard]] bool CopyToOutput(const InputArchive& input, const char* member);

    [[nodiscard]] bool PutInPlace();

    const Inputs& inputs_;
    const WorkFiles& workFiles_;
    Vorn::PathBuffer folder_;          // of the old archive, with a trailing separator
    Vorn::InternedString outputName_;  // mount name of the new archive
    Vorn::PathBuffer outputPath_;      // of the result

    patch::List added_;
    patch::List deleted_;
    patch::List patched_;
    EmptyMembers emptyMembers_;  // of the new archive, which cannot hold them
    Progress progress_;

    // The lock is released after an unfinished archive is deleted.
    platform::PathLock outputLock_;
    OutputArchive output_;
};

}  // namespace converter
