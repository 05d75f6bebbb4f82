#include "KernelStandard/FileSubPath.h"

#include <utility>

#include "KernelStandard/CompressedStream.h"
#include "KernelStandard/File.h"
#include "KernelStandard/FileSubstList.h"
#include "KernelStandard/OpenFile.h"
#include "archive/ArchiveFormat.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace Vorn {

FileSubPath::FileSubPath(const char* path, bool writable)
    : root_(std::string_view(path)),
      readOnly_(!writable),
      available_(File::Exists(path) == RES_OK) {}

// Streams in files of their own have the long header.
std::uint32_t FileSubPath::GetStorageKind() const { return archive::kArchiveVersion102; }

bool FileSubPath::Join(const char* name, PathBuffer& path) const {
    try {
        JoinPath(root_.View(), name, path);
        return true;
    } catch (const FileEx&) {
        return false;
    }
}

bool FileSubPath::OpenJoined(OpenFile& file, const PathBuffer& path, OpenFlags flags,
                             platform::Share share) {
    platform::FileHandle handle;
    if (!handle.Open(path.c_str(), flags.access, flags.creation, share)) return false;
    file.TakeFile(std::move(handle), *this, path.View());
    return true;
}

bool FileSubPath::OpenWrite(OpenFile& file, const char* name, OpenFlags flags) {
    PathBuffer path;
    if (!Join(name, path)) return false;
    // Callers write into folders without making them first.
    PathBuffer folder = path;
    StripFileName(folder, true);
    if (!folder.Empty() && File::Exists(folder.c_str()) != RES_OK &&
        !File::MakePath(folder.c_str())) {
        return false;
    }
    available_ = true;  // the folder exists now

    // If the root leads to another mount, that mount opens the file and is its owner.
    const MountPath inner = SplitMountPath(path.c_str());
    const auto opened = FileSubstList::Instance().OpenWrite(inner.mount, file, inner.rest, flags);
    return opened ? *opened : OpenJoined(file, path, flags, platform::Share::DenyAll);
}

bool FileSubPath::OpenRead(OpenFile& file, const char* name, OpenFlags flags) {
    PathBuffer path;
    if (!Join(name, path)) return false;
    if (readOnly_ && flags.Modifies()) {
        // A missing file that would not have been created is simply not found.
        if (flags.Creates() || File::Exists(path.c_str()) == RES_OK) file.RefuseAsReadOnly();
        return false;
    }
    const MountPath inner = SplitMountPath(path.c_str());
    const auto opened = FileSubstList::Instance().OpenRead(inner.mount, file, inner.rest, flags);
    return opened ? *opened : OpenJoined(file, path, flags, platform::Share::DenyWrite);
}

bool FileSubPath::CloseFile(OpenFile& file) {
    const bool closed = file.OwnHandle().Close();
    CountClosed();
    // An incomplete file stays plain: it could not be read as a stream.
    if (file.WriteKind() != kWriteCompressed) return closed;
    return closed && !file.WriteFailed() && CompressFileInPlace(file.Name());
}

bool FileSubPath::Exists(InternedString& /*substName*/, const char* name) {
    PathBuffer path;
    return Join(name, path) && File::Exists(path.c_str()) == RES_OK;
}

bool FileSubPath::Delete(const char* name) {
    PathBuffer path;
    return Join(name, path) && File::Delete(path.c_str());
}

void FileSubPath::CollectToDelete(const char* name, FileSubs& list) {
    PathBuffer path;
    if (!Join(name, path)) return;
    const MountPath inner = SplitMountPath(path.c_str());
    FileSubstList::Instance().CollectToDelete(inner.mount, inner.rest, list);
}

bool FileSubPath::Rename(const char* oldName, const char* newName) {
    PathBuffer from;
    PathBuffer to;
    return Join(oldName, from) && Join(newName, to) && File::Rename(from.c_str(), to.c_str());
}

bool FileSubPath::MakeDirectory(const char* name) {
    PathBuffer path;
    return Join(name, path) && File::MakePath(path.c_str());
}

bool FileSubPath::GetRealPath(PathSpan name) {
    InternedString noSubst;  // this backend does not use it
    PathBuffer path;
    if (!Exists(noSubst, name.data()) || !Join(name.data(), path)) return false;
    SetPath(name, path.View());
    return true;
}

bool FileSubPath::Stat(std::uint32_t& writeTime, const char* name) {
    PathBuffer path;
    return Join(name, path) && File::GetModifiedTime(path.c_str(), writeTime);
}

void FileSubPath::SetReadOnly(const char* name, bool readOnly) {
    PathBuffer path;
    if (Join(name, path)) (void)platform::SetReadOnly(path.c_str(), readOnly);
}

}  // namespace Vorn
