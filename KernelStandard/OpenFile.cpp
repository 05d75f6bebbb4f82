#include "KernelStandard/OpenFile.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "KernelStandard/CompressedStream.h"
#include "archive/ArchiveFormat.h"
#include "archive/Stream.h"
#include "kernel/Exceptions.h"

namespace Vorn {

namespace {

// The stored size of a file that is not a member: it may grow while it is open, so that only the
// system knows where it ends.
constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

// Holds a backend's own lock for a scope. Null for a file that has no backend.
class OwnerLock {
public:
    explicit OwnerLock(FileSub* owner) : owner_(owner) {
        if (owner_) owner_->Lock();
    }
    ~OwnerLock() {
        if (owner_) owner_->Unlock();
    }
    OwnerLock(const OwnerLock&) = delete;
    OwnerLock& operator=(const OwnerLock&) = delete;

private:
    FileSub* owner_;
};

}  // namespace

void OpenFile::Begin(FileMode mode) {
    mode_ = mode;
    size_.reset();
    // Opening empties such a file, so that its size needs no system call.
    if (IsNew()) size_ = 0;
    dataOffset_ = 0;
    storedSize_ = kNoLimit;
    newMember_ = refusedReadOnly_ = writeFailed_ = false;
}

void OpenFile::Attach(platform::FileHandle& handle, FileSub& owner, std::string_view name) {
    SetPath(name_, name);
    handle_ = &handle;
    owner_ = owner.shared_from_this();
    owner.CountOpened();
}

void OpenFile::TakeFile(platform::FileHandle handle, FileSub& owner, std::string_view name) {
    own_ = std::move(handle);
    Attach(own_, owner, name);
}

void OpenFile::TakeNewMember(platform::FileHandle temporary, FileSub& owner,
                             std::string_view name) {
    TakeFile(std::move(temporary), owner, name);
    newMember_ = true;
    size_ = 0;
}

void OpenFile::BorrowMember(platform::FileHandle& shared, FileSub& owner, std::string_view name,
                            std::uint32_t dataOffset, std::uint32_t storedSize,
                            std::uint32_t size) {
    Attach(shared, owner, name);
    dataOffset_ = dataOffset;
    storedSize_ = storedSize;
    size_ = size;
}

bool OpenFile::OpenPath(const char* path) {
    const OpenFlags flags = Flags();
    // A reader would see half of what is being written, and a writer would change what is read.
    const auto share = WriteKind() != 0 ? platform::Share::DenyAll : platform::Share::DenyWrite;
    if (!own_.Open(path, flags.access, flags.creation, share)) return false;
    handle_ = &own_;
    SetPath(name_, path);
    return true;
}

bool OpenFile::IsNew() const {
    const FileMode creation = mode_ & kCreationMask;
    return creation == kCreateOrTruncate || creation == kCreateNew;
}

OpenFlags OpenFile::Flags() const {
    using platform::Creation;
    OpenFlags flags;
    flags.access = WriteKind() != 0 ? platform::Access::ReadWrite : platform::Access::Read;
    switch (mode_ & kCreationMask) {
        case kCreateOrTruncate:
            flags.creation = Creation::CreateOrTruncate;
            break;
        case kAppend:
            flags.creation = Creation::OpenOrCreate;
            break;
        case kCreateNew:
            flags.creation = Creation::CreateNew;
            break;
        default:
            flags.creation = Creation::OpenExisting;
    }
    return flags;
}

std::size_t OpenFile::StreamHeaderSize() const {
    // A file of the file system always has the long header.
    const bool isShort = owner_ && owner_->GetStorageKind() == archive::kArchiveVersion101;
    return isShort ? archive::kShortStreamHeaderSize : archive::kStreamHeaderSize;
}

std::uint32_t OpenFile::TakeSize() {
    const std::int64_t length = IsOpen() ? Length() : -1;
    if (length < 0 || static_cast<std::uint64_t>(length) > kMaxFileSize) {
        // Named after the source of the operation that callers know; the text is fixed.
        throw FileEx("KernelStandard/File", __LINE__, "Size() failed to get file length");
    }
    size_ = static_cast<std::uint32_t>(length);
    return *size_;
}

std::int64_t OpenFile::ReadAt(std::uint64_t offset, std::span<std::byte> into) {
    if (offset >= storedSize_) return 0;
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), storedSize_ - offset));
    // Promised to backends (FileSub::Lock): a shared descriptor is used under their lock.
    const OwnerLock lock(owner_.get());
    return handle_->ReadAt(dataOffset_ + offset, into.first(count));
}

std::uint32_t OpenFile::WriteAt(std::uint64_t offset, std::span<const std::byte> from) {
    const std::size_t written = handle_->WriteAt(offset, from);
    if (written < from.size()) writeFailed_ = true;
    return static_cast<std::uint32_t>(written);
}

void OpenFile::ClearPastEnd() {
    // The system fills a gap in a file with zeros. Only the temporary file of a new member, which
    // is reused, may hold an earlier member's bytes past the end.
    if (newMember_ && !handle_->Truncate(Size())) writeFailed_ = true;
}

bool OpenFile::Close() {
    bool good = !writeFailed_;
    if (owner_) {
        // Called after a failed write as well: the backend must drop what it began.
        good = owner_->CloseFile(*this) && good;
    } else {
        good = own_.Close() && good;
        if (good && WriteKind() == kWriteCompressed) good = CompressFileInPlace(Name());
    }
    own_.Close();
    handle_ = nullptr;
    owner_ = nullptr;  // may destroy the backend, which completes its archive
    return good;
}

void OpenFile::Drop() {
    // Not by the backend's CloseFile, which would add a new member or compress the file.
    own_.Close();
    handle_ = nullptr;
    if (owner_) owner_->CountClosed();
    owner_ = nullptr;
}

}  // namespace Vorn
