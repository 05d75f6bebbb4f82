#include "converter/ConvertBase.h"

#include <string>

#include "KernelResource/ArchiveDatabases.h"
#include "KernelStandard/File.h"
#include "KernelStandard/FileFind.h"
#include "KernelStandard/FileSubstList.h"
#include "converter/Console.h"
#include "converter/InputArchive.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"
#include "platform/Processes.h"

using namespace Vorn;

namespace {

// Stored names with "//", "/./" or "/../" lead to folders that are the same or another one.
[[nodiscard]] bool IsOwnName(std::string_view name) {
    return !name.empty() && name != "." && name != "..";
}

}  // namespace

ConvertBase::~ConvertBase() { ReleaseArchiveDatabase(database_); }

void ConvertBase::PrintUsage() { PrintLine("// TODO.Alden: Print usage"); }

bool ConvertBase::Prepare(int argc, char** argv) {
    if (argc < 4) return false;
    SetPath(programDir_, platform::ProgramPath());
    StripFileName(programDir_, false);
    StripTrailingSeparator(programDir_);

    const char* path = argv[2];
    if (!FitsPath(path) || File::Exists(path) != RES_OK) {
        PrintLine("Failed to find input archive \"" + std::string(path) + "\"");
        return false;
    }
    if (!HasExtension(path, "va") && !HasExtension(path, "pbk")) {
        PrintLine(InvalidInputArchive(path));
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
    PathBuffer pattern{std::string_view(folder)};
    AppendPathComponent(pattern, "*");
    File::Find find;
    if (!find.Open(pattern.c_str(), inputName_)) {
        PrintLine("Unable to open search path \"" + std::string(find.Entry().Name()) + "\"");
        return 1;
    }
    int result = 0;
    do {
        const FindEntry& entry = find.Entry();
        PathBuffer path;
        find.GetPath(path);
        if (!IsOwnName(entry.Name())) {
            PrintProblem("members below \"" + std::string(path.View()) +
                         "\" cannot be opened by their names and are left out");
            continue;
        }
        const bool isFolder = (entry.attributes & archive::kEntryDirectory) != 0;
        result = isFolder ? ProcessFolder(path.c_str()) : ProcessFile(path.c_str());
    } while (result != 1 && find.Next());
    return result;
}

int ConvertBase::ProcessFile(const char* /*member*/) { return 0; }
