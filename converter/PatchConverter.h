// patchdiff and patchapply: makes a patch between two archives (PatchMaker.h), or applies one
// (PatchApplier.h).
//
// Standard output carries the operations' fixed lines. If a run fails for a reason that has no
// fixed line, one line on standard error says why.
//
// Decided here and in the two operations, where the fixed behaviour leaves it open or would lose
// something silently:
// - A member that cannot be read whole, a working file or a member that cannot be written whole
//   (a full disk), and an index that cannot be written end the run with 1.
// - An output that is one of the inputs, or that cannot be deleted, is refused.
// - Both operations write their result under a separate name ("...va.part"), and rename it when it
//   is whole and on the storage device. After a failure there is no new archive, and an earlier
//   run's stays: only what this run made is deleted.
// - Members without content are never stored. One line at the end counts them.
// - Runs that share a program folder wait for each other, since they share the working files (see
//   WorkFiles.h); so do runs that write the same result.
#pragma once

#include <memory>

#include "converter/ConvertBase.h"
#include "converter/Operation.h"
#include "converter/WorkFiles.h"

namespace converter {

enum PatchOperation : int { OpNone = 0, OpDiff = 1, OpApply = 2 };

class PatchConverter final : public ConvertBase {
public:
    void PrintUsage() override;
    [[nodiscard]] bool Prepare(int argc, char** argv) override;
    [[nodiscard]] int Run() override;
    [[nodiscard]] int ProcessFolder(const char* folder) override;
    [[nodiscard]] int ProcessFile(const char* member) override;

private:
    [[nodiscard]] bool PrepareArchives(int argc, char** argv, PatchOperation& word);

    Inputs inputs_;
    WorkFiles workFiles_;
    std::unique_ptr<Operation> operation_;
};

}  // namespace converter
