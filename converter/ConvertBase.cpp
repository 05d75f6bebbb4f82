#include "converter/ConvertBase.h"

#include <utility>

#include "KernelResource/ArchiveDatabases.h"
#include "KernelStandard/File.h"
#include "KernelStandard/FileSubstList.h"
#include "converter/Console.h"
#include "converter/FixedLines.h"
#include "converter/InputArchive.h"
#include "converter/Walk.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"
#include "platform/Processes.h"

namespace converter {

using namespace Vorn;

ConvertBase::~ConvertBase() { ReleaseArchiveDatabase(database_); }

void ConvertBase::PrintUsage() { PrintLine(line::kUsage); }

bool ConvertBase::Prepare(int argc, char** argv) {
    if (argc < 4) return false;
    SetPath(programDir_, platform::ProgramPath());
    StripFileName(programDir_, false);
    StripTrailingSeparator(programDir_);

    const char* path = argv[2];
    if (!FitsPath(path) || File::Exists(path) != RES_OK) {
        PrintQuoted(line::kNoInputArchive, path);
        return false;
    }
    if (!HasExtension(path, "va") && !HasExtension(path, "pbk")) {
        PrintQuoted(line::kInvalidInputArchive, path);
        return false;
    }
    SetPath(inputArchivePath_, path);
    PathBuffer name;
    SetPath(name, FileNamePart(path));
    ReplaceExtension(name, nullptr);
    inputName_ = Intern(name.View());
    ToLower(inputName_);
    OpenInput();
    return true;
}

void ConvertBase::OpenInput() {
    PathBuffer folder = inputArchivePath_;
    StripFileName(folder, false);
    database_ = OpenArchiveDatabase(inputName_, folder.c_str());

    const PathBuffer archive =
        NorvaneResourceDatabase::ArchivePath(folder.View(), inputName_.View());
    const char* const path = inputArchivePath_.c_str();
    if (database_ && platform::IsSameFile(archive.c_str(), path)) return;
    if (FileSubstList::Instance().IsMounted(inputName_)) Subst(inputName_, nullptr);
    Subst(inputName_, path);
}

int ConvertBase::Run() { return ProcessFolder(""); }

int ConvertBase::ProcessFolder(const char* folder) {
    return WalkFolder(
        inputName_, folder, [this](const char* path) { return ProcessFolder(path); },
        [this](const char* path) { return ProcessFile(path); });
}

int ConvertBase::ProcessFile(const char* /*member*/) { return 0; }

// The database first: it uses the mount.
void ConvertBase::CloseInput() {
    ReleaseArchiveDatabase(std::exchange(database_, nullptr));
    Subst(inputName_, nullptr);
}

}  // namespace converter
