// Changes a mounted archive: adds and deletes members under the file's change lock.
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>

#include "KernelStandard/CompressedStream.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/OpenFile.h"
#include "archive/Error.h"
#include "kernel/Paths.h"

namespace Vorn {

namespace {

FileSubArchive::ProgressHook progressHook = nullptr;

[[nodiscard]] bool WritesMember(FileMode writeKind) {
    return writeKind == kWritePlain || writeKind == kWriteCompressed;
}

}  // namespace

void FileSubArchive::SetProgressHook(ProgressHook hook) { progressHook = hook; }

FileSubArchive::~FileSubArchive() { (void)Complete(); }

bool FileSubArchive::BeginChanges() {
    WaitForOtherChanges();
    const ScopedLock hold(lock_);
    return EnterChanges();
}

void FileSubArchive::WaitForOtherChanges() {
    int patience = 30'000;  // milliseconds
    {
        const ScopedLock hold(lock_);
        if (changing_ || !IsAvailable()) return;
        if (waitedInVain_) patience = 0;
    }
    const bool locked = handle_.LockChanges(patience);
    const ScopedLock hold(lock_);
    waitedInVain_ = !locked;
}

bool FileSubArchive::EnterChanges() {
    if (changing_ || readOnly_ || !IsAvailable()) return true;
    if (!handle_.LockChanges(0)) return false;
    changing_ = true;
    if (archive::TakeFootprint(handle_) != contents_.footprint) ReadAnew();
    return BeginAppending();
}

// All members must become known first: a later walk would find a new member and add it twice.
bool FileSubArchive::BeginAppending() {
    if (!IsAvailable() || !contents_.headerInPlace) return true;
    std::uint64_t position =
        std::max<std::uint64_t>(contents_.members.EndOfData(), archive::kFirstChunkOffset);
    while (NextChunk(position)) {
    }
    appender_.emplace(handle_, contents_, archive::Appender::Publish::InBatches);
    return true;
}

bool FileSubArchive::CanAdd(const char* name) const {
    const ScopedLock hold(lock_);
    return IsAvailable() && contents_.headerInPlace &&
           contents_.header.version == archive::kArchiveVersion102 &&
           std::string_view(name).size() < kMaxPath;
}

bool FileSubArchive::MayCreate(const char* name, platform::Creation creation) {
    using platform::Creation;
    if (creation == Creation::CreateOrTruncate) return true;
    if (creation == Creation::OpenExisting) return false;
    const ScopedLock hold(lock_);
    return !LookUp(name);
}

bool FileSubArchive::OpenWrite(OpenFile& file, const char* name, OpenFlags flags) {
    if (!CanAdd(name) || !WritesMember(file.WriteKind())) return false;
    if (!MayCreate(name, flags.creation)) return false;
    platform::FileHandle temporary = TakeTemporary();
    if (!temporary.IsOpen()) return false;
    file.TakeNewMember(std::move(temporary), *this, name);
    return true;
}

platform::FileHandle FileSubArchive::TakeTemporary() {
    const ScopedLock hold(lock_);
    platform::FileHandle temporary = std::move(spareTemporary_);
    if (temporary.IsOpen()) return temporary;
    const TemporaryName name = MakeTemporaryName();
    if (temporary.OpenTemporary(name.data())) return temporary;
    // The current folder may not be writable; the archive's usually is.
    PathBuffer besideArchive = path_;
    StripFileName(besideArchive, false);
    (void)temporary.OpenTemporary((std::string(besideArchive.View()) + name.data()).c_str());
    return temporary;
}

bool FileSubArchive::CloseFile(OpenFile& file) {
    CountClosed();
    if (!WritesMember(file.WriteKind())) return true;
    constexpr std::uint32_t kKeptInSpare = 65536;  // bytes; a larger content is truncated
    const std::uint32_t size = file.Size();
    platform::FileHandle content = std::move(file.OwnHandle());
    if (!file.WriteFailed()) WaitForOtherChanges();
    const ScopedLock hold(lock_);
    const bool added = !file.WriteFailed() && EnterChanges() && CanAdd(file.Name()) &&
                       AppendFrom(content, file, size);
    // Kept for the next member, which saves creating a file for each. The content of a small member
    // may stay in it; what was not added may be of any length.
    if ((added && size <= kKeptInSpare) || content.Truncate(0)) {
        spareTemporary_ = std::move(content);
    }
    // After the end of its mount nothing else would complete the archive and release its lock.
    return (!mountEnded_ || Complete()) && added;
}

bool FileSubArchive::AppendFrom(const platform::FileHandle& content, const OpenFile& file,
                                std::uint32_t size) {
    const auto buffer =
        std::make_unique_for_overwrite<std::array<std::byte, archive::kBlockSize>>();
    const auto nextPiece = [&](std::uint32_t done, std::uint32_t count) {
        const auto piece = std::span(*buffer).first(count);
        if (content.ReadAt(done, piece) != count) {
            throw archive::Error(archive::ErrorCode::CannotRead, "its content cannot be read");
        }
        return std::span<const std::byte>(piece);
    };
    return Append(file.Name(), size, file.WriteKind() == kWriteCompressed, nextPiece);
}

bool FileSubArchive::AddMember(const char* name, std::span<const std::byte> content,
                               bool compress) {
    if (IsSeparator(*name)) ++name;
    const ScopedLock hold(lock_);
    return EnterChanges() && appender_ && CanAdd(name) &&
           Append(name, static_cast<std::uint32_t>(content.size()), compress,
                  [content](std::uint32_t done, std::uint32_t count) {
                      return content.subspan(done, count);
                  });
}

template <typename NextPiece>
bool FileSubArchive::Append(const char* name, std::uint32_t size, bool compress,
                            const NextPiece& nextPiece) {
    try {
        wasFull_ = false;
        auto replaces = LookUp(name);
        // A member of the unfinished batch must be in the file before it can be replaced. If the
        // batch could not be written, there is nothing to replace.
        if (replaces) {
            appender_->Settle(*replaces);
            replaces = LookUp(name);
        }
        appender_->Begin({.name = name, .compress = compress, .size = size, .replaces = replaces});
        for (std::uint32_t done = 0; done < size;) {
            const auto count =
                std::min(static_cast<std::uint32_t>(archive::kBlockSize), size - done);
            appender_->Write(nextPiece(done, count));
            done += count;
            if (progressHook) {
                progressHook(done, compress ? appender_->StoredSoFar() : 0);
            }
        }
        appender_->Finish();
        if (!batches_) appender_->Flush();
    } catch (const archive::Error& error) {
        wasFull_ = error.Code() == archive::ErrorCode::Full;
        appender_->Abandon();
        return false;
    }
    // In an archive whose index is maintained, the folders of new members become known when it is
    // mounted next. This is fixed.
    if (!contents_.Maintained()) folders_.AddDirectoriesOf(name);
    return true;
}

void FileSubArchive::AddInBatches() {
    const ScopedLock hold(lock_);
    batches_ = true;
}

bool FileSubArchive::Flush() {
    const ScopedLock hold(lock_);
    return FlushBatch();
}

bool FileSubArchive::FlushBatch() {
    try {
        if (appender_) appender_->Flush();
    } catch (const archive::Error&) {
        return false;
    }
    return true;
}

std::vector<std::string> FileSubArchive::TakeLost() {
    const ScopedLock hold(lock_);
    return appender_ ? appender_->TakeLost() : std::vector<std::string>();
}

void FileSubArchive::CollectToDelete(const char* name, FileSubs& list) {
    const ScopedLock hold(lock_);
    if (!readOnly_ && contents_.headerInPlace && LookUp(name)) list.push_back(shared_from_this());
}

// The list has called BeginChanges if there is such a member.
bool FileSubArchive::Delete(const char* name) {
    const ScopedLock hold(lock_);
    if (!LookUp(name) || !EnterChanges() || !appender_) return false;
    // EnterChanges may have read the archive again, after which ordinals differ.
    const auto ordinal = LookUp(name);
    if (!ordinal) return false;
    try {
        appender_->Delete(*ordinal);
    } catch (const archive::Error&) {
        return false;
    }
    return true;
}

void FileSubArchive::EndMount() {
    const ScopedLock hold(lock_);
    mountEnded_ = true;
    (void)Complete();
}

bool FileSubArchive::Complete() {
    const ScopedLock hold(lock_);
    if (!changing_ || !IsAvailable()) return true;
    try {
        if (appender_) appender_->Complete();
    } catch (const archive::Error&) {
        return false;
    }
    appender_.reset();
    // The next change must not read the archive again because of what was written here.
    contents_.footprint = archive::TakeFootprint(handle_);
    changing_ = false;
    handle_.UnlockChanges();
    return true;
}

}  // namespace Vorn
