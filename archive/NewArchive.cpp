#include "archive/NewArchive.h"

#include <string_view>
#include <utility>
#include <vector>

#include "archive/ChunkEdits.h"
#include "archive/Error.h"
#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/FolderHandle.h"

namespace archive {
namespace {

[[nodiscard]] std::string FolderOf(const std::string& path) {
    const std::string folder = platform::PlaceOf(path).folder;
    return folder.empty() ? "." : folder;
}

[[nodiscard]] std::string HiddenPath(const std::string& path) {
    const platform::FilePlace place = platform::PlaceOf(path);
    return place.folder + platform::HiddenName(place.name);
}

[[nodiscard]] std::vector<std::string> RemoveAbandoned(const std::string& path) {
    const platform::FilePlace place = platform::PlaceOf(path);
    platform::FolderHandle folder;
    if (!folder.Open(place.folder.c_str())) return {};
    std::vector<std::string> removed =
        folder.RemoveAbandoned([stem = platform::HiddenStem(place.name)](std::string_view found) {
            return found == stem;
        });
    for (std::string& name : removed) name.insert(0, place.folder);
    return removed;
}

[[noreturn]] void ThrowSystem(const std::string& what) {
    const platform::Error error = platform::LastError();
    throw Error(
        error.kind == platform::ErrorKind::NoSpace ? ErrorCode::NoSpace : ErrorCode::CannotWrite,
        what + ": " + error.Message());
}

}  // namespace

NewArchive::NewArchive(std::string path, std::uint32_t buildVersion, std::uint32_t productCode)
    : path_(std::move(path)), abandoned_(RemoveAbandoned(path_)) {
    if (!file_.OpenUnnamed(FolderOf(path_).c_str())) OpenHidden();
    // Says to other runs that a process holds the file, once it has a name.
    (void)file_.LockChanges(0);
    contents_ = StartArchive(file_, buildVersion, productCode);
    members_.emplace(file_, contents_, Appender::Publish::InBatches);
}

void NewArchive::OpenHidden() {
    using namespace platform;
    constexpr int kTries = 100;
    for (int i = 0; i < kTries; ++i) {
        hidden_.path = HiddenPath(path_);
        if (!file_.Open(hidden_.path.c_str(), Access::ReadWrite, Creation::CreateNew,
                        Share::DenyNone)) {
            if (LastError().kind != ErrorKind::Exists) break;
            continue;
        }
        // Another run may have found the file before it was locked, and removed it.
        if (file_.LockChanges(0) && GetEntryKind(hidden_.path.c_str()) == EntryKind::File) {
            // What replaces a private file is private before it has any content.
            (void)file_.TakePermissions(path_.c_str());
            return;
        }
        file_.Close();
    }
    hidden_.path.clear();
    ThrowSystem("cannot create a file in its folder");
}

NewArchive::HiddenName::~HiddenName() {
    if (path.empty()) return;
    // It may have got the permissions of a read-only file already, which would keep it.
    (void)platform::SetReadOnly(path.c_str(), false);
    (void)platform::RemoveFile(path.c_str());
}

void NewArchive::Finish() {
    if (members_) members_->Complete();
    members_.reset();
    if (!file_.Commit()) ThrowSystem("cannot flush the file to the storage device");
    finished_ = true;
}

const Reader& NewArchive::Complete() {
    if (!finished_) Finish();
    return reader_.emplace(std::move(file_));
}

void NewArchive::Publish(bool replace) {
    using namespace platform;
    const bool named = hidden_.path.empty() ? File().GiveName(path_.c_str())
                                            : Rename(hidden_.path.c_str(), path_.c_str());
    if (!named) {
        if (LastError().kind != ErrorKind::Exists) ThrowSystem("cannot give the file its name");
        if (!replace) throw Error(ErrorCode::Refused, "the file exists");
        if (!MoveOver(File())) ThrowSystem("cannot replace the file");
    }
    hidden_.path.clear();
    if (!CommitDirectory(FolderOf(path_).c_str())) {
        ThrowSystem("cannot flush the folder to the storage device");
    }
}

// No call replaces a name by a file that has none, so that one gets a hidden name first.
bool NewArchive::MoveOver(const platform::FileHandle& file) {
    // First of all: once it has a name, others may open it.
    if (!file.TakePermissions(path_.c_str())) return false;
    if (hidden_.path.empty()) {
        std::string hidden = HiddenPath(path_);
        if (!file.GiveName(hidden.c_str())) return false;
        hidden_.path = std::move(hidden);
    }
    return platform::RenameOver(hidden_.path.c_str(), path_.c_str());
}

}  // namespace archive
