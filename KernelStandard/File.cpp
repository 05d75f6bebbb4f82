#include "KernelStandard/File.h"

#include <atomic>
#include <limits>

#include "KernelStandard/FileSubstList.h"
#include "archive/ArchiveFormat.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"

namespace Vorn {

namespace {

constexpr std::uint64_t kNoRawEnd = std::numeric_limits<std::uint64_t>::max();

std::atomic<int> openFiles{0};

[[nodiscard]] bool IsCreating(FileMode mode) {
    const FileMode creation = mode & kCreationMask;
    return creation == kCreateOrTruncate || creation == kCreateNew;
}

}  // namespace

// Left uninitialised: nothing is read that was not put there before.
File::File() : buffer_(std::make_unique_for_overwrite<Buffer>()) {}

File::~File() { Close(); }

FileResult File::Open(const char* path, FileMode mode, int textMode) {
    const std::string_view whole(path);
    const std::size_t colon = whole.find(':');
    if (colon == std::string_view::npos || colon < 2) {
        return Open(InternedString(), path, mode, textMode);
    }
    if (colon >= kMaxPath) return IsOpen() ? RES_ALREADYOPEN : RES_FILENOTFOUND;
    return Open(Intern(whole.substr(0, colon)), path + colon + 1, mode, textMode);
}

FileResult File::Open(const InternedString& substName, const char* path, FileMode mode,
                      int textMode) {
    textMode_ = textMode == 0 ? kTextAnsi : textMode;
    if (IsOpen()) return RES_ALREADYOPEN;
    Reset(mode);
    const bool append = (mode & kCreationMask) == kAppend;
    if ((mode & kUnsupportedMask) == kUnsupported || (append && WriteKind() == kWriteCompressed)) {
        return RES_MODENOTSUPPORTED;
    }
    if (std::string_view(path).size() >= kMaxPath) return RES_FILENOTFOUND;

    const auto served = OpenThroughSubst(substName, path);
    const bool mounted = served.has_value();
    const bool opened = mounted ? *served : OpenPlain(path);
    if (!opened && refusedReadOnly_) return RES_READONLY;
    if (!opened) {
        // Mounts that are asked to read find the file or do not.
        const bool createNew = (mode & kCreationMask) == kCreateNew;
        const bool reading = mounted && ReadKind() != 0;
        return createNew && !reading ? RES_FILEALREADYEXISTS : RES_FILENOTFOUND;
    }
    if (const FileResult result = ProbeCompression(); result != RES_OK) return result;
    if (handle_ != &own_ && WriteKind() != 0) return Refuse(RES_READONLY);
    if (append) {
        if (handle_->Length() > static_cast<std::int64_t>(archive::kMaxArchiveSize)) {
            return Refuse(RES_UNKNOWN);
        }
        Seek(0, SeekFrom::End);
    }
    ++openFiles;
    counted_ = true;
    return RES_OK;
}

void File::Reset(FileMode mode) {
    mode_ = mode;
    size_.reset();
    if (IsCreating(mode)) size_ = 0;
    cursor_ = buffered_ = unwritten_ = 0;
    headerLength_ = position_ = nextBlock_ = 0;
    rawPosition_ = 0;
    rawEnd_ = kNoRawEnd;
    writeFailed_ = false;
    readFailed_ = false;
    newMember_ = false;
    refusedReadOnly_ = false;
    owner_ = nullptr;
}

OpenFlags File::FlagsOfMode() const {
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

std::optional<bool> File::OpenThroughSubst(const InternedString& substName, const char* path) {
    FileSubstList& list = FileSubstList::Instance();
    if (IsSeparator(*path)) ++path;
    return ReadKind() == 0 ? list.OpenWrite(substName, *this, path, FlagsOfMode())
                           : list.OpenRead(substName, *this, path, FlagsOfMode());
}

bool File::OpenPlain(const char* path) {
    const OpenFlags flags = FlagsOfMode();
    const auto share = WriteKind() != 0 ? platform::Share::DenyAll : platform::Share::DenyWrite;
    if (!own_.Open(path, flags.access, flags.creation, share)) return false;
    handle_ = &own_;
    SetPath(name_, path);
    return true;
}

void File::AttachOwned(platform::FileHandle handle, FileSub& owner, std::string_view name) {
    SetPath(name_, name);
    own_ = std::move(handle);
    handle_ = &own_;
    owner_ = owner.shared_from_this();
    owner.CountOpened();
}

void File::AttachNewMember(platform::FileHandle temporary, FileSub& owner, std::string_view name) {
    AttachOwned(std::move(temporary), owner, name);
    newMember_ = true;
    size_ = 0;  // whatever the temporary file holds
}

void File::AttachMember(platform::FileHandle& shared, FileSub& owner, std::string_view name,
                        std::uint32_t dataOffset, std::uint32_t storedSize, std::uint32_t size) {
    SetPath(name_, name);
    handle_ = &shared;
    owner_ = owner.shared_from_this();
    owner.CountOpened();
    size_ = size;
    headerLength_ = dataOffset;
    rawPosition_ = dataOffset;
    rawEnd_ = std::uint64_t{dataOffset} + storedSize;
}

FileResult File::ProbeCompression() {
    if (IsCreating(mode_)) {
        if (ReadKind() == kReadDetect) mode_ = (mode_ & ~kReadKindMask) | kReadPlain;
        return RES_OK;
    }
    if (ReadKind() != kReadDetect && ReadKind() != kReadCompressed) return RES_OK;

    const bool shortHeader =
        owner_ != nullptr && owner_->GetStorageKind() == archive::kArchiveVersion101;
    const std::size_t wanted =
        shortHeader ? archive::kShortStreamHeaderSize : archive::kStreamHeaderSize;
    // A file of its own is read on: it is mostly plain, and mostly small.
    const std::size_t most = owner_ == nullptr ? buffer_->size() : wanted;
    const std::int64_t got = RawRead(std::span(*buffer_).first(most));
    if (got < 0) return Refuse(RES_UNKNOWN);

    const auto probed = static_cast<std::size_t>(got);
    if (probed >= wanted && archive::IsStreamMark(std::span(*buffer_).first(wanted))) {
        return AcceptStream(wanted);
    }
    if (probed >= wanted && ReadKind() == kReadCompressed) return Refuse(RES_NOTCOMPRESSED);
    mode_ = (mode_ & ~kReadKindMask) | kReadPlain;
    buffered_ = static_cast<std::uint32_t>(probed);
    return RES_OK;
}

FileResult File::AcceptStream(std::size_t probed) {
    headerLength_ += static_cast<std::uint32_t>(probed);
    rawPosition_ = headerLength_;
    mode_ = (mode_ & ~kReadKindMask) | kReadCompressed;
    if (probed == archive::kStreamHeaderSize) {
        const archive::StreamHeader header =
            archive::DecodeStreamHeader(std::span(*buffer_).first<archive::kStreamHeaderSize>());
        if (header.version >= archive::kStreamVersion) size_ = header.contentSize;
    }
    return WriteKind() != 0 ? Refuse(RES_CANTWRITECOMPRESSED) : RES_OK;
}

FileResult File::Refuse(FileResult result) {
    if (handle_ != &own_ && result != RES_UNKNOWN) {
        // A write would go straight into the archive.
        mode_ &= ~kWriteKindMask;
        return result;
    }
    own_.Close();
    handle_ = nullptr;
    if (owner_ != nullptr) owner_->CountClosed();
    owner_ = nullptr;
    return result;
}

bool File::Close() {
    if (!IsOpen()) return true;
    Flush();
    bool good = !writeFailed_;
    if (owner_ != nullptr) {
        good = owner_->CloseFile(*this) && good;
    } else {
        good = own_.Close() && good;
        if (good && WriteKind() == kWriteCompressed) good = CompressFileInPlace(name_.c_str());
    }
    own_.Close();
    handle_ = nullptr;
    owner_ = nullptr;
    if (counted_) --openFiles;
    counted_ = false;
    return good;
}

void File::Abandon() {
    writeFailed_ = true;
    (void)Close();
}

std::uint32_t File::Size() {
    if (!size_) {
        const std::int64_t length = IsOpen() ? handle_->Length() : -1;
        if (length < 0 || static_cast<std::uint64_t>(length) > archive::kMaxArchiveSize) {
            throw FileEx("KernelStandard/File", __LINE__, "Size() failed to get file length");
        }
        size_ = static_cast<std::uint32_t>(length);
    }
    return *size_;
}

int File::OpenFileCount() { return openFiles.load(); }

}  // namespace Vorn
