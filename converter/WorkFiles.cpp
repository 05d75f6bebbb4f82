#include "converter/WorkFiles.h"

#include <vector>

#include "converter/Console.h"
#include "converter/InputArchive.h"
#include "converter/PatchTools.h"
#include "converter/RunLock.h"
#include "platform/Directories.h"
#include "platform/Files.h"
#include "platform/Interruption.h"

namespace converter {

namespace {

// Returns the names of what is in a folder.
[[nodiscard]] std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    (void)platform::ListDirectory(folder.c_str(), [&](const platform::DirectoryEntry& entry) {
        names.push_back(entry.name);
        return true;
    });
    return names;
}

}  // namespace

WorkFiles::~WorkFiles() {
    if (!private_) {
        if (isLocked_ && platform::InterruptionAsked()) Clear();
        return;
    }
    for (const std::string& name : NamesIn(folder_)) Delete({name.c_str()});
    (void)platform::RemoveEmptyDirectory(folder_.c_str());
}

void WorkFiles::Clear() const {
    Delete({kSourceFile, kTargetFile, kDiffFile, kOutFile});
    for (const std::string& name : NamesIn(folder_)) {
        if (IsDiffProgramTemporary(name)) Delete({name.c_str()});
    }
}

bool WorkFiles::Open(std::string_view programDir) {
    folder_ = programDir;
    if (WaitForLock(lock_, Path("VAConverter.lock"),
                    "another run is using the program folder; waiting for it to end")) {
        // What a killed run left: this run may need none, and would leave them too.
        Clear();
        return isLocked_ = true;
    }
    const std::string temporary = platform::TemporaryDirectory();
    folder_ = platform::MakePrivateDirectory(temporary + "VAConverter-");
    private_ = !folder_.empty();
    if (!private_) {
        PrintProblem("cannot write to the program folder \"" + std::string(programDir) +
                     "\" and cannot create a folder in \"" + temporary +
                     "\" either; let TMPDIR name a folder with room for working files");
        return false;
    }
    if (FitsPath(Path(kSourceFile)) && FitsCommandLine(folder_)) return true;
    PrintProblem("the folder for temporary files \"" + temporary +
                 "\" has a path that is too long or holds a double quote; let TMPDIR name another");
    return false;
}

std::string WorkFiles::Path(const char* name) const { return folder_ + "/" + name; }

bool WorkFiles::Write(const char* name, std::span<const std::byte> content) const {
    using namespace platform;
    const std::string path = Path(name);
    (void)RemoveFile(path.c_str());
    FileHandle file;
    if (!file.Open(path.c_str(), Access::Write, Creation::CreateNew, Share::DenyNone)) {
        PrintProblem("cannot create \"" + path + "\"");
        return false;
    }
    const bool written = file.Write(content) == content.size();
    if (file.Close() && written) return true;
    PrintProblem("cannot write \"" + path + "\"");
    return false;
}

void WorkFiles::Delete(std::initializer_list<const char*> names) const {
    for (const char* name : names) (void)platform::RemoveFile(Path(name).c_str());
}

}  // namespace converter
