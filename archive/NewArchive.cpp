#include "archive/NewArchive.h"

#include <array>
#include <random>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/ChunkEdits.h"
#include "archive/Error.h"
#include "platform/Directories.h"
#include "platform/Error.h"

namespace archive {
namespace {

[[nodiscard]] std::size_t NameStart(std::string_view path) { return path.find_last_of("/\\") + 1; }

[[nodiscard]] std::string FolderOf(std::string_view path) {
    const std::size_t name = NameStart(path);
    return name == 0 ? "." : std::string(path.substr(0, name));
}

constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::size_t kRandomLetters = 6;

// Returns what the names of hidden files for `path` begin with.
[[nodiscard]] std::string HiddenStem(std::string_view path) {
    // A name may be as long as the system allows; the hidden one must not be longer.
    constexpr std::size_t kMostOfName = 200;
    return "." + std::string(path.substr(NameStart(path), kMostOfName)) + ".va-";
}

// A name that no other run chooses: ".NAME.va-XXXXXX" beside its place.
[[nodiscard]] std::string NewHiddenName(std::string_view path) {
    std::string name = std::string(path.substr(0, NameStart(path))) + HiddenStem(path);
    std::random_device random;
    for (std::size_t i = 0; i < kRandomLetters; ++i) name += kLetters[random() % kLetters.size()];
    return name;
}

[[nodiscard]] bool IsHiddenFile(const platform::DirectoryEntry& entry, std::string_view stem) {
    const std::string_view name = entry.name;
    return entry.isRegular && !entry.isLink && name.starts_with(stem) &&
           name.size() == stem.size() + kRandomLetters &&
           name.find_first_not_of(kLetters, stem.size()) == name.npos;
}

// Removes hidden files that a killed run left. A process that still writes one holds its lock.
[[nodiscard]] std::vector<std::string> RemoveAbandoned(const std::string& path) {
    using namespace platform;
    const std::string stem = HiddenStem(path);
    const std::string folder = path.substr(0, NameStart(path));
    std::vector<std::string> removed;
    (void)ListDirectory(FolderOf(path).c_str(), [&](const DirectoryEntry& entry) {
        if (!IsHiddenFile(entry, stem)) return true;
        const std::string hidden = folder + entry.name;
        FileHandle file;
        if (file.Open(hidden.c_str(), Access::ReadWrite, Creation::OpenExisting, Share::DenyNone) &&
            file.LockChanges(0) && RemoveFile(hidden.c_str())) {
            removed.push_back(hidden);
        }
        return true;
    });
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
        hidden_.path = NewHiddenName(path_);
        if (!file_.Open(hidden_.path.c_str(), Access::ReadWrite, Creation::CreateNew,
                        Share::DenyNone)) {
            if (LastError().kind != ErrorKind::Exists) break;
            continue;
        }
        // Another run may have found the file before it was locked, and removed it.
        if (file_.LockChanges(0) && GetEntryKind(hidden_.path.c_str()) == EntryKind::File) return;
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
    using namespace platform;
    if (hidden_.path.empty()) {
        std::string hidden = NewHiddenName(path_);
        if (!file.GiveName(hidden.c_str())) return false;
        hidden_.path = std::move(hidden);
    }
    if (GetEntryKind(path_.c_str()) == EntryKind::File &&
        !CopyPermissions(path_.c_str(), hidden_.path.c_str())) {
        return false;
    }
    return RenameOver(hidden_.path.c_str(), path_.c_str());
}

}  // namespace archive
