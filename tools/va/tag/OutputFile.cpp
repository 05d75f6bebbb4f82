#include "tools/va/tag/OutputFile.h"

#include <limits>

#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/Processes.h"
#include "tools/va/ExitCode.h"
#include "tools/va/tag/Input.h"

namespace va::tool {
namespace {

// Returns the system's reason for the failure of the last operation.
std::string SystemReason() { return platform::LastError().Message(); }

[[noreturn]] void RefuseExisting(const std::string& path) {
    Refuse("'" + path + "' exists and stays as it is; --force replaces it");
}

// A link in that place is replaced, so only a file's own permissions are kept.
[[nodiscard]] bool IsReplacedFile(const std::string& path) {
    return platform::GetEntryKind(path.c_str()) == platform::EntryKind::File;
}

[[noreturn]] void RefusePlace(const std::string& path) {
    const platform::Error error = platform::LastError();
    if (error.kind == platform::ErrorKind::NotFound) {
        Refuse("cannot write '" + path + "': its folder does not exist");
    }
    Refuse("cannot write beside '" + path + "': " + error.Message());
}

}  // namespace

void OutputFile::Check(const std::string& path, bool replace) {
    if (MemberStart(path) != std::string::npos) {
        throw Failure{ExitCode::Usage, "'" + path +
                                           "' names a member, and archives are only read here; "
                                           "write a file and add it with VArchive"};
    }
    if (platform::GetEntryKind(path.c_str()) == platform::EntryKind::Other) {
        Refuse("'" + path + "' is a device or a pipe, which a file cannot replace; name a file");
    }
    platform::FileStatus status;
    if (!platform::GetStatus(path.c_str(), status)) return;
    if (status.IsDirectory()) Refuse("'" + path + "' is a folder; name a file in it");
    if (!replace) RefuseExisting(path);
    if (IsReplacedFile(path) && (status.attributes & platform::kAttributeReadOnly) != 0) {
        Refuse("'" + path + "' is read-only and stays as it is; make it writable to replace it");
    }
}

OutputFile::OutputFile(const std::string& path, bool replace) : path_(path), replace_(replace) {
    // The number of the process is in the name: a name that is guarded must be no other run's.
    const std::string stem = path + ".new" + std::to_string(platform::CurrentProcessId()) + "-";
    constexpr int kMostTries = 100;
    for (int n = 0; n < kMostTries; ++n) {
        temporary_ = stem + std::to_string(n);
        guard_.emplace(temporary_);
        if (handle_.Open(temporary_.c_str(), platform::Access::Write, platform::Creation::CreateNew,
                         platform::Share::DenyAll)) {
            // Before anything is written: what replaces a private file is private from the start.
            if (replace && IsReplacedFile(path) &&
                !platform::CopyPermissions(path.c_str(), temporary_.c_str())) {
                problem_ =
                    "it cannot get the permissions of the file that it replaces: " + SystemReason();
            }
            return;
        }
        if (platform::LastError().kind != platform::ErrorKind::Exists) break;
    }
    RefusePlace(path);
}

OutputFile::~OutputFile() {
    if (temporary_.empty()) return;
    handle_.Close();
    (void)platform::RemoveFile(temporary_.c_str());
}

std::uint32_t OutputFile::Write(const void* bytes, std::uint32_t count) {
    constexpr std::size_t kMostPending = 1U << 18;
    if (count > std::numeric_limits<std::uint32_t>::max() - position_) {
        problem_ = "it would be larger than 4 GiB";
    }
    if (!problem_.empty()) return 0;
    const auto* first = static_cast<const std::byte*>(bytes);
    pending_.insert(pending_.end(), first, first + count);
    position_ += count;
    if (pending_.size() >= kMostPending) Flush();
    return problem_.empty() ? count : 0;
}

void OutputFile::Flush() {
    if (handle_.Write(pending_) != pending_.size()) problem_ = SystemReason();
    pending_.clear();
}

void OutputFile::Place() {
    Flush();
    if (problem_.empty() && !(handle_.Commit() && handle_.Close())) problem_ = SystemReason();
    if (!problem_.empty()) Refuse("cannot write '" + path_ + "': " + problem_);
    const bool placed = replace_ ? platform::RenameOver(temporary_.c_str(), path_.c_str())
                                 : platform::Rename(temporary_.c_str(), path_.c_str());
    if (!placed) {
        const platform::Error error = platform::LastError();
        if (error.kind == platform::ErrorKind::Exists && !replace_) RefuseExisting(path_);
        Refuse("cannot put a new file in the place of '" + path_ + "': " + error.Message());
    }
    temporary_.clear();
}

}  // namespace va::tool
