#include "tools/va/OutputFile.h"

#include <algorithm>

#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/NewFile.h"
#include "platform/SystemInfo.h"
#include "platform/Terminal.h"
#include "tools/va/Run.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"

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

[[noreturn]] void RefuseWrite(const std::string& message, const platform::Error& error) {
    const bool full =
        error.kind == platform::ErrorKind::NoSpace || error.kind == platform::ErrorKind::TooLarge;
    throw Failure{full ? ExitCode::DiskFull : ExitCode::Refused, message + error.Message()};
}

// Throws Failure unless a file can be created at `path`; with `makesFolders`, its parent folders
// may be missing.
void CheckPlace(const std::string& path, bool makesFolders) {
    platform::FilePlace place = platform::PlaceOf(path);
    platform::FolderHandle folder;
    if (!(makesFolders ? folder.OpenNearest(place) : folder.Open(place.folder.c_str()))) {
        const platform::Error error = platform::LastError();
        if (error.kind != platform::ErrorKind::NotFound) {
            RefuseWrite("cannot write beside '" + Shown(path) + "': ", error);
        }
        throw Failure{ExitCode::NotFound,
                      "cannot write '" + Shown(path) + "': its folder does not exist"};
    }
    if (folder.CanTake(place.name)) return;
    RefuseWrite("cannot write beside '" + Shown(path) + "': ", platform::LastError());
}

// Throws Failure (DiskFull) if the disk has less free space than `bytes`: a dry run, which writes
// nothing, would not notice otherwise. A file system that does not report its free space passes.
void CheckSpace(const std::string& path, std::uint64_t bytes) {
    const std::string folder = platform::PlaceOf(path).folder;
    const auto free = platform::FreeSpace(folder.empty() ? "." : folder.c_str());
    if (!free || *free >= bytes) return;
    throw Failure{ExitCode::DiskFull, "cannot write '" + Shown(path) + "': it needs " +
                                          std::to_string(bytes) + " bytes, and the disk has " +
                                          std::to_string(*free) + " free"};
}

[[nodiscard]] bool IsLink(const std::string& path) {
    return platform::GetEntryKind(path.c_str()) == platform::EntryKind::Link;
}

}  // namespace

void CheckOutputs(const std::vector<std::string>& paths, bool replace, Folders folders) {
    std::vector<std::string> existing;
    for (const std::string& path : paths) {
        if (path == "-") continue;
        if (MemberStart(path) != std::string::npos) {
            throw Failure{ExitCode::Usage, "'" + Shown(path) +
                                               "' names a member, and archives are only read here; "
                                               "write a file and add it with 'va add'"};
        }
        if (platform::GetEntryKind(path.c_str()) == platform::EntryKind::Other) {
            Refuse("'" + Shown(path) +
                   "' is a device or a pipe, which a file cannot replace; name a file, or '-' for "
                   "standard output");
        }
        // Before the checks of an existing file: a missing folder is the more useful message.
        CheckPlace(path, folders == Folders::AreMade);
        platform::FileStatus status;
        if (!platform::GetStatus(path.c_str(), status)) continue;
        if (status.IsDirectory()) Refuse("'" + Shown(path) + "' is a folder; name a file in it");
        // Collected, so that one message names all of them and the user can decide once.
        if (!replace) existing.push_back(path);
        // The rename would succeed, but a read-only file asks not to be changed. The status of a
        // link is that of its target, which is not replaced.
        if (!IsLink(path) && (status.attributes & platform::kAttributeReadOnly) != 0) {
            Refuse("'" + Shown(path) +
                   "' is read-only and stays as it is; make it writable to replace it");
        }
    }
    if (!existing.empty()) RefuseExisting(existing);
}

void WriteFileWhole(Run& run, const std::string& path, std::span<const std::byte> bytes,
                    bool replace) {
    const bool replacesLink = replace && IsLink(path);
    if (run.Has(kDryRun)) {
        CheckSpace(path, bytes.size());
        return ReportReplacedLink(run, path, replacesLink);
    }
    const platform::FilePlace place = platform::PlaceOf(path);
    // All steps go through one handle, so they reach the same folder even if its path changes.
    platform::FolderHandle folder;
    if (!folder.Open(place.folder.c_str())) CheckPlace(path, false);
    std::vector<std::string> abandoned =
        folder.RemoveAbandoned([stem = platform::HiddenStem(place.name)](std::string_view found) {
            return found == stem;
        });
    for (std::string& name : abandoned) name.insert(0, place.folder);
    ReportAbandoned(run, abandoned);
    platform::NewFile file;
    if (!file.Begin(folder, place.name)) {
        RefuseWrite("cannot write beside '" + Shown(path) + "': ", platform::LastError());
    }
    if (file.Write(bytes) != bytes.size() || !file.Commit()) {
        RefuseWrite("cannot write '" + Shown(path) + "': ", platform::LastError());
    }
    if (!file.Publish(replace)) {
        const platform::Error error = platform::LastError();
        // Another process created it since CheckOutputs.
        if (error.kind == platform::ErrorKind::Exists && !replace) RefuseExisting({path});
        RefuseWrite("cannot replace '" + Shown(path) + "': ", error);
    }
    ReportReplacedLink(run, path, replacesLink);
}

void WriteOutput(Run& run, const std::string& path, std::span<const std::byte> bytes,
                 bool replace) {
    if (path != "-") return WriteFileWhole(run, path, bytes, replace);
    const bool isBinary = std::ranges::find(bytes, std::byte{0}) != bytes.end();
    if (isBinary && !replace && platform::IsTerminal(platform::StandardStream::Output)) {
        Refuse("standard output is a terminal and the result is binary; use -f to write it anyway");
    }
    if (!run.Has(kDryRun)) run.answer.Write(bytes);
}

void ReportReplacedLink(Run& run, const std::string& path, bool replaced) {
    if (!replaced) return;
    run.talk.Note(Shown(path) + (run.Has(kDryRun)
                                     ? " is a link; it would be replaced, and its target kept"
                                     : " was a link; it was replaced, and its target kept"));
}

void ReportAbandoned(Run& run, const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        run.talk.Note("removed " + Shown(path) + ", left by a run that was killed");
    }
}

}  // namespace va::tool
