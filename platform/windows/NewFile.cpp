// This system has no files without a name that can get one. A new file has a hidden name from the
// start, and is marked hidden; a process that is killed leaves it, and RemoveAbandoned finds it.
#include "platform/NewFile.h"
#include "platform/windows/FileStatus.h"
#include "platform/windows/FolderPath.h"
#include "platform/windows/Handles.h"

namespace platform {

using windows::PathIn;
using windows::Refuse;

NewFile::~NewFile() { GiveUp(); }

bool NewFile::Begin(const FolderHandle& folder, const std::string& name) {
    GiveUp();
    folder_ = &folder;
    name_ = name;
    return CreateHidden();
}

bool FileHandle::CreateIn(int folder, const char* path) {
    if (IsOpen()) return Refuse(ERROR_INVALID_PARAMETER);
    const std::wstring name = PathIn(folder, path);
    if (name.empty()) return false;
    descriptor_ =
        windows::ToDescriptor(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                          nullptr, CREATE_NEW, FILE_ATTRIBUTE_HIDDEN, nullptr));
    return IsOpen();
}

bool NewFile::CreateHidden() {
    if (PathIn(folder_->descriptor_, name_).empty()) return false;
    for (;;) {
        hidden_ = HiddenName(name_);
        if (handle_.CreateIn(folder_->descriptor_, hidden_.c_str())) {
            // Another run may have found the file before it was locked, and removed it.
            if (handle_.LockChanges(0) && folder_->KindOf(hidden_) == EntryKind::File) return true;
            handle_.Close();
        } else if (GetLastError() != ERROR_FILE_EXISTS && GetLastError() != ERROR_ALREADY_EXISTS) {
            break;
        }
    }
    hidden_.clear();
    return false;
}

std::size_t NewFile::Write(std::span<const std::byte> bytes) { return handle_.Write(bytes); }

bool NewFile::Publish(bool replace) { return MoveHidden(replace); }

bool NewFile::MoveHidden(bool replace) {
    const EntryKind there = folder_->KindOf(name_);
    const bool replaceable = there == EntryKind::File || there == EntryKind::Link;
    if (there != EntryKind::None && (!replace || !replaceable)) return Refuse(ERROR_FILE_EXISTS);
    if (!handle_.Close()) {
        const DWORD error = GetLastError();
        GiveUp();
        return Refuse(error);
    }
    const std::wstring from = PathIn(folder_->descriptor_, hidden_);
    const std::wstring to = PathIn(folder_->descriptor_, name_);
    SetFileAttributesW(from.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (!MoveFileExW(from.c_str(), to.c_str(), replace ? MOVEFILE_REPLACE_EXISTING : 0)) {
        return false;
    }
    hidden_.clear();
    return true;
}

void NewFile::GiveUp() {
    handle_.Close();
    if (!hidden_.empty()) DeleteFileW(PathIn(folder_->descriptor_, hidden_).c_str());
    hidden_.clear();
}

}  // namespace platform
