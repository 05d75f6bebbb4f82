#include "tools/va/tag/OutputFile.h"

#include <algorithm>
#include <optional>

#include "platform/Directories.h"
#include "platform/Endings.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/Processes.h"
#include "platform/Terminal.h"
#include "tools/va/Run.h"
#include "tools/va/ShownText.h"
#include "tools/va/tag/Input.h"

namespace va::tool {
namespace {

[[noreturn]] void RefuseExisting(const std::vector<std::string>& paths) {
    constexpr std::size_t kMostNamed = 10;
    std::string names;
    for (std::size_t i = 0; i < std::min(paths.size(), kMostNamed); ++i) {
        names += (i > 0 ? ", '" : "'") + Shown(paths[i]) + "'";
    }
    if (paths.size() > kMostNamed) {
        names += " and " + std::to_string(paths.size() - kMostNamed) + " more";
    }
    Refuse(names + (paths.size() == 1 ? " exists; -f replaces it" : " exist; -f replaces them"));
}

// A link in that place is replaced, so only a file's own permissions are kept.
[[nodiscard]] bool IsReplacedFile(const std::string& path) {
    return platform::GetEntryKind(path.c_str()) == platform::EntryKind::File;
}

[[noreturn]] void RefuseWrite(const std::string& message, const platform::Error& error) {
    const bool full =
        error.kind == platform::ErrorKind::NoSpace || error.kind == platform::ErrorKind::TooLarge;
    throw Failure{full ? ExitCode::DiskFull : ExitCode::Refused, message + error.Message()};
}

[[noreturn]] void RefusePlace(const std::string& path) {
    const platform::Error error = platform::LastError();
    if (error.kind == platform::ErrorKind::NotFound) {
        Refuse("cannot write '" + Shown(path) + "': its folder does not exist");
    }
    RefuseWrite("cannot write beside '" + Shown(path) + "': ", error);
}

// The new file until it has its place.
class NewFile {
public:
    explicit NewFile(const std::string& path) {
        // The number of the process is in the name: a name that is guarded must be no other run's.
        // A name may be as long as the system allows; the hidden one must not be longer.
        constexpr std::size_t kMostOfName = 200;
        const std::size_t name = path.find_last_of("/\\") + 1;
        const std::string stem = path.substr(0, name) + "." + path.substr(name, kMostOfName) +
                                 ".va-" + std::to_string(platform::CurrentProcessId()) + "-";
        constexpr int kMostTries = 100;
        for (int n = 0; n < kMostTries; ++n) {
            name_ = stem + std::to_string(n);
            guard_.emplace(name_);
            if (handle_.Open(name_.c_str(), platform::Access::Write, platform::Creation::CreateNew,
                             platform::Share::DenyAll)) {
                return;
            }
            if (platform::LastError().kind != platform::ErrorKind::Exists) break;
        }
        RefusePlace(path);
    }
    ~NewFile() {
        if (placed_) return;
        handle_.Close();
        (void)platform::RemoveFile(name_.c_str());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    [[nodiscard]] bool TakePermissions(const std::string& path) const {
        return platform::CopyPermissions(path.c_str(), name_.c_str());
    }
    [[nodiscard]] bool Write(std::span<const std::byte> bytes) {
        return handle_.Write(bytes) == bytes.size() && handle_.Commit() && handle_.Close();
    }
    [[nodiscard]] bool Place(const std::string& path, bool replace) {
        placed_ = replace ? platform::RenameOver(name_.c_str(), path.c_str())
                          : platform::Rename(name_.c_str(), path.c_str());
        return placed_;
    }

private:
    std::string name_;
    std::optional<platform::RemovedAtEnd> guard_;
    platform::FileHandle handle_;
    bool placed_ = false;
};

}  // namespace

void CheckOutputs(const std::vector<std::string>& paths, bool replace) {
    std::vector<std::string> existing;
    for (const std::string& path : paths) {
        if (path == "-") continue;
        if (MemberStart(path) != std::string::npos) {
            throw Failure{ExitCode::Usage, "'" + Shown(path) +
                                               "' names a member, and archives are only read here; "
                                               "write a file and add it with VArchive"};
        }
        if (platform::GetEntryKind(path.c_str()) == platform::EntryKind::Other) {
            Refuse("'" + Shown(path) +
                   "' is a device or a pipe, which a file cannot replace; name a file, or '-' for "
                   "standard output");
        }
        platform::FileStatus status;
        if (!platform::GetStatus(path.c_str(), status)) continue;
        if (status.IsDirectory()) Refuse("'" + Shown(path) + "' is a folder; name a file in it");
        if (!replace) existing.push_back(path);
        if (IsReplacedFile(path) && (status.attributes & platform::kAttributeReadOnly) != 0) {
            Refuse("'" + Shown(path) +
                   "' is read-only and stays as it is; make it writable to replace it");
        }
    }
    if (!existing.empty()) RefuseExisting(existing);
}

void WriteFileWhole(const std::string& path, std::span<const std::byte> bytes, bool replace) {
    NewFile file(path);
    // Before anything is written: what replaces a private file is private from the start.
    if (replace && IsReplacedFile(path) && !file.TakePermissions(path)) {
        RefuseWrite("cannot write '" + Shown(path) +
                        "': it cannot get the permissions of the file that it replaces: ",
                    platform::LastError());
    }
    if (!file.Write(bytes)) {
        RefuseWrite("cannot write '" + Shown(path) + "': ", platform::LastError());
    }
    if (file.Place(path, replace)) return;
    const platform::Error error = platform::LastError();
    if (error.kind == platform::ErrorKind::Exists && !replace) RefuseExisting({path});
    RefuseWrite("cannot put a new file in the place of '" + Shown(path) + "': ", error);
}

void WriteOutput(Run& run, const std::string& path, std::span<const std::byte> bytes,
                 bool replace) {
    if (run.Has(kDryRun)) return;
    if (path != "-") return WriteFileWhole(path, bytes, replace);
    const bool isBinary = std::ranges::find(bytes, std::byte{0}) != bytes.end();
    if (isBinary && !replace && platform::IsTerminal(platform::StandardStream::Output)) {
        Refuse("standard output is a terminal and the result is binary; -f writes it all the same");
    }
    run.answer.Write(bytes);
}

}  // namespace va::tool
