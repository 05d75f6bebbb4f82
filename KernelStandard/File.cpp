#include "KernelStandard/File.h"

#include <algorithm>
#include <atomic>
#include <span>
#include <string_view>

#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"

namespace Vorn {

namespace {

std::atomic<int> openFiles{0};

}  // namespace

File::~File() { Close(); }

FileResult File::Open(const char* path, FileMode mode, int textMode) {
    const std::string_view whole(path);
    // A ':' at index 1 follows a drive letter.
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
    // The buffers of the reader and the writer are kept: a File that opens many small files one
    // after the other allocates once.
    file_.Begin(mode);
    reader_.Begin();
    position_ = 0;
    // Compression rewrites a whole file at close, so that nothing can be appended to a stream.
    const bool append = (mode & kCreationMask) == kAppend;
    if ((mode & kUnsupportedMask) == kUnsupported ||
        (append && file_.WriteKind() == kWriteCompressed)) {
        return RES_MODENOTSUPPORTED;
    }
    if (std::string_view(path).size() >= kMaxPath) return RES_FILENOTFOUND;

    if (const FileResult result = OpenStorage(substName, path); result != RES_OK) return result;
    if (const FileResult result = JudgeForm(); result != RES_OK) return result;
    if (file_.IsBorrowed() && file_.WriteKind() != 0) return Refuse(RES_READONLY);
    if (append) {
        // Size would throw; a file that cannot take another byte is refused instead.
        if (file_.Length() > static_cast<std::int64_t>(kMaxFileSize)) {
            return Refuse(RES_UNKNOWN);
        }
        position_ = Size();
    }
    ++openFiles;
    counted_ = true;
    return RES_OK;
}

FileResult File::OpenStorage(const InternedString& substName, const char* path) {
    FileSubstList& list = FileSubstList::Instance();
    const char* name = IsSeparator(*path) ? path + 1 : path;
    // A mode with a read kind goes to OpenRead even if it writes too; OpenWrite is for modes that
    // only write.
    const bool reads = file_.ReadKind() != 0;
    const auto served = reads ? list.OpenRead(substName, file_, name, file_.Flags())
                              : list.OpenWrite(substName, file_, name, file_.Flags());
    const bool mounted = served.has_value();
    if (mounted ? *served : file_.OpenPath(path)) return RES_OK;
    if (file_.WasRefusedReadOnly()) return RES_READONLY;
    // A mount that was asked to read never reports that the file already exists.
    const bool createNew = (file_.Mode() & kCreationMask) == kCreateNew;
    return createNew && !(mounted && reads) ? RES_FILEALREADYEXISTS : RES_FILENOTFOUND;
}

FileResult File::JudgeForm() {
    using Form = BlockReader::Form;
    const FileMode kind = file_.ReadKind();
    if (file_.IsNew() || (kind != kReadDetect && kind != kReadCompressed)) return RES_OK;
    switch (reader_.DetectStream()) {
        case Form::Unreadable:
            return Refuse(RES_UNKNOWN);
        case Form::Stream:
            return file_.WriteKind() != 0 ? Refuse(RES_CANTWRITECOMPRESSED) : RES_OK;
        case Form::Bytes:
            return kind == kReadCompressed ? Refuse(RES_NOTCOMPRESSED) : RES_OK;
        // A file shorter than a header cannot be judged, so it opens as bytes.
        case Form::TooShort:
            break;
    }
    return RES_OK;
}

// A refused member stays open until Close, which is fixed: callers may still read it, and Close
// returns it to its archive. A member that cannot even be read is closed.
FileResult File::Refuse(FileResult result) {
    if (file_.IsBorrowed() && result != RES_UNKNOWN) {
        file_.DenyWriting();
    } else {
        file_.Drop();
    }
    return result;
}

bool File::Close() {
    if (!IsOpen()) return true;
    Flush();
    const bool good = file_.Close();
    if (counted_) --openFiles;  // a refused member is open, but was never counted
    counted_ = false;
    return good;
}

void File::Abandon() {
    // The archive takes no member of which a write has failed.
    file_.SetWriteFailed();
    (void)Close();
}

void File::RequireReading() const {
    if (!IsOpen()) throw FileEx("KernelStandard/File", __LINE__, "Read() File is not open");
    if (file_.ReadKind() == 0) {
        throw FileEx("KernelStandard/File", __LINE__, "Read() File not open for reading");
    }
}

std::uint32_t File::Read(void* destination, std::uint32_t count, std::uint32_t elementSize) {
    RequireReading();
    const std::uint64_t wanted = std::uint64_t{count} * elementSize;
    if (wanted == 0) return 0;

    // The reader does not know what the writer holds.
    Flush();
    const std::span into(static_cast<std::byte*>(destination), wanted);
    const std::size_t done = reader_.Read(position_, into);
    position_ += static_cast<std::uint32_t>(done);
    return static_cast<std::uint32_t>(done / elementSize);
}

std::uint32_t File::Write(const void* source, std::uint32_t count, std::uint32_t elementSize) {
    if (!IsOpen()) throw FileEx("KernelStandard/File", __LINE__, "Write() File not open");
    if (file_.WriteKind() == 0) {
        throw FileEx("KernelStandard/File", __LINE__, "Write() File not open for writing");
    }
    const std::uint64_t wanted = std::uint64_t{count} * elementSize;
    if (wanted == 0) return 0;

    reader_.Forget();
    // While the buffer holds bytes, they end at position_: Seek and Read flush it first.
    if (writer_.IsEmpty()) writer_.MoveTo(position_);
    if (position_ > Size()) file_.ClearPastEnd();
    // Positions have 32 bits: what would lie after the last of them is refused, not wrapped.
    const std::uint64_t room = kMaxFileSize - position_;
    if (wanted > room) file_.SetWriteFailed();
    const std::span from(static_cast<const std::byte*>(source), std::min(wanted, room));
    const std::size_t done = writer_.Write(from);
    position_ = writer_.Position();
    return static_cast<std::uint32_t>(done / elementSize);
}

void File::Flush() {
    if (writer_.IsEmpty()) return;
    writer_.Flush();
    position_ = writer_.Position();
}

void File::Commit() {
    if (!IsOpen() || writer_.IsEmpty()) return;
    Flush();
    file_.Commit();
}

std::uint32_t File::Seek(std::int64_t offset, SeekFrom origin) {
    if (file_.WriteKind() == kWriteCompressed) {
        throw FileEx("KernelStandard/File", __LINE__, "Seek() Can't seek writing compressed file");
    }
    Flush();
    // The largest position is one below the result that reports failure.
    constexpr std::int64_t kLimit = kFailedSeek;
    if (offset < -kLimit || offset > kLimit) return kFailedSeek;
    std::int64_t target = 0;
    switch (origin) {
        case SeekFrom::Start:
            target = offset;
            break;
        case SeekFrom::Current:
            target = position_ + offset;
            break;
        case SeekFrom::End:
            target = Size() - offset;
            break;
        default:
            return kFailedSeek;
    }
    if (target < 0 || target >= kLimit) return kFailedSeek;

    const auto position = static_cast<std::uint32_t>(target);
    if (!IsStream()) {
        // Other programs may change the file; a seek is where a caller expects to see that.
        reader_.Forget();
    } else if (position < Size() && !reader_.GoTo(position)) {
        // At or after the end there is nothing to go to: a read there returns nothing.
        return kFailedSeek;
    }
    position_ = position;
    return position;
}

int File::OpenFileCount() { return openFiles.load(); }

}  // namespace Vorn
