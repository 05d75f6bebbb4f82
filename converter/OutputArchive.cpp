#include "converter/OutputArchive.h"

#include <utility>

#include "KernelStandard/FileSubArchive.h"
#include "converter/Console.h"
#include "converter/RunLock.h"
#include "kernel/Exceptions.h"
#include "platform/Directories.h"
#include "platform/Files.h"

namespace converter {

using namespace Vorn;

namespace {

[[nodiscard]] bool CommitFile(const std::string& path) {
    using namespace platform;
    FileHandle file;
    return file.Open(path.c_str(), Access::Read, Creation::OpenExisting, Share::DenyNone) &&
           file.Commit();
}

}  // namespace

bool LockOutput(platform::PathLock& lock, const std::string& path) {
    const std::string lockFile = path + ".lock";
    if (WaitForLock(lock, lockFile,
                    "another run is writing \"" + path + "\"; waiting for it to end")) {
        return true;
    }
    PrintProblem("cannot create \"" + path + "\": cannot create \"" + lockFile +
                 "\" beside it; make its folder writable");
    return false;
}

bool OutputArchive::Create(const InternedString& mount, const std::string& path) {
    const std::string part = path + kPartEnding;
    const bool removed = platform::RemoveFile(part.c_str());
    if (removed || platform::GetEntryKind(part.c_str()) == platform::EntryKind::None) {
        try {
            mount_.emplace(mount, part.c_str(), true);
            path_ = part;
            unfinished_ = true;
            return true;
        } catch (const FileEx&) {
            // The line below has the path, which the exception has not.
        }
    }
    PrintProblem("cannot create \"" + part + '"');
    return false;
}

bool OutputArchive::Complete() {
    // Nothing here may keep the archive when its mount is closed.
    const bool complete = static_cast<FileSubArchive&>(*mount_->Backend()).Complete();
    mount_.reset();
    if (complete && CommitFile(path_)) return true;
    PrintProblem("cannot complete \"" + path_ + '"');
    return false;
}

bool OutputArchive::MoveTo(const std::string& path) {
    return TakeName(path, platform::Rename(path_.c_str(), path.c_str()));
}

bool OutputArchive::MoveOver(const std::string& path) {
    return TakeName(path, platform::RenameOver(path_.c_str(), path.c_str()));
}

bool OutputArchive::TakeName(const std::string& path, bool moved) {
    if (!moved) return false;
    path_ = path;
    unfinished_ = false;
    return true;
}

bool OutputArchive::CommitName() const {
    const std::size_t name = path_.find_last_of("/\\") + 1;
    return platform::CommitDirectory(name == 0 ? "." : path_.substr(0, name).c_str());
}

void OutputArchive::Discard() {
    mount_.reset();
    if (std::exchange(unfinished_, false)) (void)platform::RemoveFile(path_.c_str());
}

}  // namespace converter
