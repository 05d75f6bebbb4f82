#include "converter/PatchConverter.h"

#include <algorithm>

#include "KernelStandard/FileSubstList.h"
#include "converter/Console.h"
#include "converter/FixedLines.h"
#include "converter/Guarded.h"
#include "converter/PatchApplier.h"
#include "converter/PatchMaker.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace converter {

using namespace Vorn;

namespace {

[[nodiscard]] PatchOperation OperationOf(const char* word) {
    const InternedString name = Intern(word);
    if (CompareText(name, "patchdiff") == 0) return OpDiff;
    return CompareText(name, "patchapply") == 0 ? OpApply : OpNone;
}

[[nodiscard]] bool IsUsableArchive(const char* path, std::initializer_list<const char*> endings) {
    return FitsPath(path) &&
           std::ranges::any_of(endings, [path](auto e) { return HasExtension(path, e); }) &&
           platform::Exists(path);
}

}  // namespace

void PatchConverter::PrintUsage() {
    PrintLine(line::kMoreUsage);
    PrintUsageHint();
}

bool PatchConverter::Prepare(int argc, char** argv) {
    return Guarded(false, [&] {
        PatchOperation word = OpNone;
        if (!PrepareArchives(argc, argv, word)) return false;
        if (word == OpDiff) {
            operation_ = std::make_unique<PatchMaker>(inputs_, workFiles_, argv[4]);
        } else {
            operation_ = std::make_unique<PatchApplier>(inputs_, workFiles_);
        }
        return operation_->Prepare();
    });
}

bool PatchConverter::PrepareArchives(int argc, char** argv, PatchOperation& word) {
    if (!ConvertBase::Prepare(argc, argv) || argc < 5) return false;
    word = OperationOf(argv[1]);
    if (word == OpNone) {
        PrintLine(line::kInvalidOperation);
        return false;
    }
    if (!IsUsableArchive(argv[2], {"va", "pbk"})) {
        PrintQuoted(line::kInvalidInputArchive, argv[2]);
        return false;
    }
    if (!IsUsableArchive(argv[3], {"va"})) {
        PrintQuoted(line::kInvalidInputArchive, argv[3]);
        return false;
    }
    const InternedString otherName = Intern(FileNamePart(argv[3]));
    if (otherName == inputName_) {
        PrintQuoted(line::kInvalidInputArchive, otherName.View());
        return false;
    }
    Subst(otherName, argv[3]);
    inputs_ = {.programDir = std::string(programDir_.View()),
               .old = {.mount = inputName_, .path = argv[2]},
               .other = {.mount = otherName, .path = argv[3]}};
    return workFiles_.Open(programDir_.View());
}

int PatchConverter::Run() {
    const OldArchive old{.walk = [this] { return ConvertBase::Run() == 0; },
                         .close = [this] { CloseInput(); }};
    return Guarded(1, [&] { return operation_->Run(old) ? 0 : 1; });
}

int PatchConverter::ProcessFolder(const char* folder) {
    return Guarded(1, [&] {
        return operation_->EnterFolder(folder) ? ConvertBase::ProcessFolder(folder) : 1;
    });
}

int PatchConverter::ProcessFile(const char* member) {
    return operation_->ProcessMember(member) ? 0 : 1;
}

}  // namespace converter
