#include "tools/archive/OutputFile.h"

#include <span>

#include "KernelStandard/CompressedStream.h"
#include "platform/Directories.h"

namespace Vorn {

OutputFile::~OutputFile() {
    handle_.Close();
    if (!temporary_.empty()) (void)platform::RemoveFile(temporary_.c_str());
}

// A file without a name costs less than one that is renamed, and a process that is killed leaves
// nothing behind.
bool OutputFile::Open(const std::string& path) {
    path_ = path;
    const std::string folder = Folder();
    if (handle_.OpenUnnamed(folder.empty() ? "." : folder.c_str())) return true;
    temporary_ = CreateTemporaryFile(folder, handle_);
    return !temporary_.empty();
}

std::uint32_t OutputFile::Write(const void* bytes, std::uint32_t count) {
    const std::span from(static_cast<const std::byte*>(bytes), count);
    return static_cast<std::uint32_t>(handle_.Write(from));
}

bool OutputFile::Place() {
    if (!temporary_.empty()) {
        // Closed before it is renamed: closing may report what could not be written.
        failed_ = !handle_.Close();
        if (failed_ || !platform::Rename(temporary_.c_str(), path_.c_str())) return false;
        temporary_.clear();
        return true;
    }
    if (!handle_.GiveName(path_.c_str())) return false;
    failed_ = !handle_.Close();
    if (failed_) (void)platform::RemoveFile(path_.c_str());
    return !failed_;
}

bool OutputFile::Replace() {
    if (failed_ || !NameTemporarily()) return false;
    if (platform::GetEntryKind(path_.c_str()) == platform::EntryKind::File) {
        // A file whose permissions cannot be copied is still replaced: its content matters more.
        (void)platform::CopyPermissions(path_.c_str(), temporary_.c_str());
    }
    if (!handle_.Close() || !platform::RenameOver(temporary_.c_str(), path_.c_str())) return false;
    temporary_.clear();
    return true;
}

bool OutputFile::NameTemporarily() {
    constexpr int kMostTries = 100;
    for (int tries = 0; temporary_.empty() && tries < kMostTries; ++tries) {
        const std::string name = Folder() + MakeTemporaryName().data();
        if (handle_.GiveName(name.c_str())) {
            temporary_ = name;
        } else if (platform::GetEntryKind(name.c_str()) == platform::EntryKind::None) {
            break;
        }
    }
    return !temporary_.empty();
}

}  // namespace Vorn
