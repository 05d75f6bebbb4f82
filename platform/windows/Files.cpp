// Share modes are the system's own: they hold against every program. CheckOnly denies writing for
// as long as its file is open, since the system knows no weaker way to fail beside a writer. Every
// opener lets others remove and rename the file, as the other system does.
#include "platform/Files.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "platform/windows/ChangeLocks.h"
#include "platform/windows/Handles.h"
#include "platform/windows/WideText.h"

namespace platform {
namespace {

using windows::Refuse;
using windows::ToDescriptor;
using windows::ToHandle;
using windows::ToSystemPath;

constexpr int kNoDescriptor = -1;
constexpr std::uint64_t kLargestOffset = std::numeric_limits<std::int64_t>::max();
// One call takes a 32-bit size.
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30U;

DWORD AccessRights(Access access) {
    switch (access) {
        case Access::Read:
            return GENERIC_READ;
        case Access::Write:
            return GENERIC_WRITE | FILE_READ_ATTRIBUTES;
        case Access::ReadWrite:
            return GENERIC_READ | GENERIC_WRITE;
    }
    return 0;
}

DWORD ShareRights(Share share) {
    switch (share) {
        case Share::DenyAll:
            return FILE_SHARE_DELETE;
        case Share::DenyWrite:
        case Share::CheckOnly:
            return FILE_SHARE_DELETE | FILE_SHARE_READ;
        case Share::DenyNone:
            return FILE_SHARE_DELETE | FILE_SHARE_READ | FILE_SHARE_WRITE;
    }
    return 0;
}

// CreateOrTruncate does not truncate yet: an open that is refused must not change the file.
DWORD Disposition(Creation creation) {
    switch (creation) {
        case Creation::OpenExisting:
            return OPEN_EXISTING;
        case Creation::CreateOrTruncate:
        case Creation::OpenOrCreate:
            return OPEN_ALWAYS;
        case Creation::CreateNew:
            return CREATE_NEW;
    }
    return 0;
}

OVERLAPPED At(std::uint64_t offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    return place;
}

DWORD Part(std::size_t size) { return static_cast<DWORD>(std::min(size, kMostAtOnce)); }

// Calls `readSome(rest, done, got)` until `into` is full or the file ends.
template <typename ReadSome>
std::int64_t ReadWhole(std::span<std::byte> into, const ReadSome& readSome) {
    std::size_t done = 0;
    while (done < into.size()) {
        DWORD got = 0;
        if (!readSome(into.subspan(done), done, got)) {
            const DWORD error = GetLastError();
            if (error == ERROR_HANDLE_EOF || error == ERROR_BROKEN_PIPE) break;
            if (done == 0) return -1;
            break;
        }
        if (got == 0) break;
        done += got;
    }
    return static_cast<std::int64_t>(done);
}

template <typename WriteSome>
std::size_t WriteWhole(std::span<const std::byte> from, const WriteSome& writeSome) {
    std::size_t done = 0;
    while (done < from.size()) {
        DWORD put = 0;
        if (!writeSome(from.subspan(done), done, put) || put == 0) break;
        done += put;
    }
    return done;
}

// A positioned transfer moves the handle's position as well, so it is put back. Of several ReadAt
// at the same time each reads the right bytes, but the position is unknown afterwards: who reads on
// several threads must not rely on it.
class KeptPosition {
public:
    explicit KeptPosition(HANDLE file) : file_(file) {
        SetFilePointerEx(file_, {}, &position_, FILE_CURRENT);
    }
    ~KeptPosition() {
        const DWORD error = GetLastError();
        SetFilePointerEx(file_, position_, nullptr, FILE_BEGIN);
        SetLastError(error);
    }
    KeptPosition(const KeptPosition&) = delete;
    KeptPosition& operator=(const KeptPosition&) = delete;

private:
    HANDLE file_;
    LARGE_INTEGER position_{};
};

bool SetLength(HANDLE file, std::uint64_t length) {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(length);
    return SetFileInformationByHandle(file, FileEndOfFileInfo, &end, sizeof end) != 0;
}

}  // namespace

bool FileHandle::Open(const char* path, Access access, Creation creation, Share share) {
    if (IsOpen()) return Refuse(ERROR_INVALID_PARAMETER);
    const std::wstring name = ToSystemPath(path);
    if (name.empty()) return false;
    FileHandle opened;
    opened.descriptor_ =
        ToDescriptor(CreateFileW(name.c_str(), AccessRights(access), ShareRights(share), nullptr,
                                 Disposition(creation), FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!opened.IsOpen()) return false;
    const HANDLE file = ToHandle(opened.descriptor_);
    const DWORD type = GetFileType(file);
    if (type != FILE_TYPE_DISK && type != FILE_TYPE_CHAR) {
        opened.Close();
        return Refuse(ERROR_INVALID_PARAMETER);
    }
    if (creation == Creation::CreateOrTruncate && type == FILE_TYPE_DISK && !SetLength(file, 0)) {
        const DWORD error = GetLastError();
        opened.Close();
        return Refuse(error);
    }
    *this = std::move(opened);
    return true;
}

bool FileHandle::OpenTemporary(const char* path) {
    if (IsOpen()) return Refuse(ERROR_INVALID_PARAMETER);
    const std::wstring name = ToSystemPath(path);
    if (name.empty()) return false;
    // It has its name until the handle closes; the system removes it however the process ends.
    descriptor_ = ToDescriptor(
        CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_DELETE, nullptr,
                    CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    return IsOpen();
}

// No file system here has unnamed files that can get a name.
bool FileHandle::OpenUnnamed(const char* /*folder*/) { return Refuse(ERROR_NOT_SUPPORTED); }

bool FileHandle::GiveName(const char* /*path*/) const { return Refuse(ERROR_NOT_SUPPORTED); }

// What may read and write a file comes from its folder here, so a new file in the place of an old
// one has what the folder gives.
bool FileHandle::TakePermissions(const char* /*path*/) const { return true; }

bool FileHandle::Close() noexcept {
    const int descriptor = std::exchange(descriptor_, kNoDescriptor);
    if (descriptor < 0) return true;
    windows::ForgetChangeLock(ToHandle(descriptor));
    return CloseHandle(ToHandle(descriptor)) != 0;
}

std::int64_t FileHandle::Read(std::span<std::byte> into) {
    return ReadWhole(into, [this](std::span<std::byte> rest, std::size_t, DWORD& got) {
        return ReadFile(ToHandle(descriptor_), rest.data(), Part(rest.size()), &got, nullptr);
    });
}

std::int64_t FileHandle::ReadAt(std::uint64_t offset, std::span<std::byte> into) const {
    if (offset > kLargestOffset || into.size() > kLargestOffset - offset) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    const KeptPosition kept(ToHandle(descriptor_));
    return ReadWhole(into, [this, offset](std::span<std::byte> rest, std::size_t done, DWORD& got) {
        OVERLAPPED place = At(offset + done);
        return ReadFile(ToHandle(descriptor_), rest.data(), Part(rest.size()), &got, &place);
    });
}

std::size_t FileHandle::Write(std::span<const std::byte> from) {
    return WriteWhole(from, [this](std::span<const std::byte> rest, std::size_t, DWORD& put) {
        return WriteFile(ToHandle(descriptor_), rest.data(), Part(rest.size()), &put, nullptr);
    });
}

std::size_t FileHandle::WriteAt(std::uint64_t offset, std::span<const std::byte> from) {
    if (offset > kLargestOffset || from.size() > kLargestOffset - offset) {
        SetLastError(ERROR_FILE_TOO_LARGE);
        return 0;
    }
    const KeptPosition kept(ToHandle(descriptor_));
    return WriteWhole(
        from, [this, offset](std::span<const std::byte> rest, std::size_t done, DWORD& put) {
            OVERLAPPED place = At(offset + done);
            return WriteFile(ToHandle(descriptor_), rest.data(), Part(rest.size()), &put, &place);
        });
}

std::int64_t FileHandle::Seek(std::int64_t offset, SeekOrigin origin) {
    LARGE_INTEGER distance{};
    LARGE_INTEGER position{};
    distance.QuadPart = offset;
    const DWORD method = origin == SeekOrigin::Begin     ? FILE_BEGIN
                         : origin == SeekOrigin::Current ? FILE_CURRENT
                                                         : FILE_END;
    return SetFilePointerEx(ToHandle(descriptor_), distance, &position, method) ? position.QuadPart
                                                                                : -1;
}

std::int64_t FileHandle::Tell() const {
    LARGE_INTEGER position{};
    return SetFilePointerEx(ToHandle(descriptor_), {}, &position, FILE_CURRENT) ? position.QuadPart
                                                                                : -1;
}

std::int64_t FileHandle::Length() const {
    LARGE_INTEGER length{};
    return GetFileSizeEx(ToHandle(descriptor_), &length) ? length.QuadPart : -1;
}

bool FileHandle::Truncate(std::uint64_t length) {
    if (length > kLargestOffset) return Refuse(ERROR_FILE_TOO_LARGE);
    return SetLength(ToHandle(descriptor_), length);
}

bool FileHandle::LockChanges(int milliseconds) const {
    constexpr int kPause = 10;
    for (int waited = 0; !windows::TakeChangeLock(ToHandle(descriptor_)); waited += kPause) {
        if (waited >= milliseconds) return Refuse(ERROR_LOCK_VIOLATION);
        Sleep(kPause);
    }
    return true;
}

void FileHandle::UnlockChanges() const { windows::DropChangeLock(ToHandle(descriptor_)); }

bool FileHandle::OthersChange() const {
    return windows::OthersHoldChangeLock(ToHandle(descriptor_));
}

bool FileHandle::Commit() { return FlushFileBuffers(ToHandle(descriptor_)) != 0; }

}  // namespace platform
