#include "KernelStandard/FileSubArchive.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <utility>

#include "KernelStandard/OpenFile.h"
#include "KernelStandard/TemporaryFile.h"
#include "archive/Error.h"
#include "archive/Stream.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "kernel/StartUp.h"
#include "platform/Directories.h"

namespace Vorn {

namespace {

archive::ArchiveHeader defaults;

[[nodiscard]] bool WritesMember(FileMode writeKind) {
    return writeKind == kWritePlain || writeKind == kWriteCompressed;
}

}  // namespace

void FileSubArchive::SetDefaultBuildVersion(std::uint32_t value) { defaults.buildVersion = value; }

void FileSubArchive::SetDefaultProductCode(std::uint32_t value) { defaults.productCode = value; }

void FileSubArchive::SetProgressHook(ProgressHook hook) { ArchiveChanges::SetProgressHook(hook); }

FileSubArchive::FileSubArchive(const char* path, bool writable)
    : path_(std::string_view(path)),
      readOnly_(!writable),
      archive_(writable, defaults),
      changes_(archive_) {
    using namespace platform;
    const ScopedLock hold(lock_);
    const Access access = readOnly_ ? Access::Read : Access::ReadWrite;
    const bool opened = archive_.File().Open(path, access, Creation::OpenExisting, Share::DenyNone);
    if (opened || readOnly_) {
        archive_.Read();  // a file that is not open counts as one that cannot be read
    } else {
        CreateArchive();
    }
    // A file that is no archive must not stay open: it would keep others from having it alone.
    if (!archive_.IsUsable()) archive_.File().Close();
}

FileSubArchive::~FileSubArchive() {
    try {
        (void)Complete();
    } catch (const std::bad_alloc&) {
        // An exception must not leave a destructor, and this one may run while another is on its
        // way: the terminate handler could then not tell what is missing.
        EndWithoutMemory();
    }
}

void FileSubArchive::CreateArchive() {
    using namespace platform;
    FileHandle& file = archive_.File();
    const bool created =
        file.Open(path_.c_str(), Access::ReadWrite, Creation::CreateNew, Share::DenyNone);
    // Another process may have created the file first, or may already be changing the one that was
    // created here.
    const bool locked = created && file.LockChanges(0);
    // Either way it then is an archive that exists, and is read like one.
    if (!locked && (created || file.Open(path_.c_str(), Access::ReadWrite, Creation::OpenExisting,
                                         Share::DenyNone))) {
        return archive_.Read();
    }
    try {
        if (locked) return changes_.Start();
    } catch (const archive::Error&) {
        // Half a header would be a file that no one can mount.
        file.Close();
        (void)RemoveFile(path_.c_str());
    }
    throw FileEx("KernelStandard/FileSubArchive", __LINE__, "Substitute() Open new archive failed");
}

bool FileSubArchive::IsAvailable() const {
    const ScopedLock hold(lock_);
    return archive_.IsUsable();
}

archive::ArchiveHeader FileSubArchive::Header() const {
    const ScopedLock hold(lock_);
    return archive_.Contents().header;
}

bool FileSubArchive::ReadFailed() const {
    const ScopedLock hold(lock_);
    return archive_.ReadFailed();
}

bool FileSubArchive::LacksIndex() {
    const ScopedLock hold(lock_);
    const archive::IndexState& index = archive_.Contents().index;
    while (index == archive::IndexState::Missing || index == archive::IndexState::CutShort) {
        if (archive_.File().OthersChange()) return false;
        // Another process may have written the index since it was looked for.
        if (!archive_.HasChanged()) return true;
        archive_.Read();
    }
    return false;
}

std::optional<FileSubArchive::Ordinal> FileSubArchive::LookUp(const char* name) {
    // A walk would find members of the unfinished change, and add them twice.
    return changes_.Active() ? archive_.Find(name) : archive_.FindOrWalk(name);
}

bool FileSubArchive::OpenRead(OpenFile& file, const char* name, OpenFlags /*flags*/) {
    const ScopedLock hold(lock_);
    // A member can be read only from the file. One that is lost is not found.
    (void)changes_.Flush();
    const auto ordinal = LookUp(name);
    if (!ordinal) return false;
    const archive::Member member = archive_.Table()[*ordinal];
    // Until the file finds a stream's header, the entry's size is the best that is known. Opened to
    // be read plain, the stored bytes are the content.
    const bool raw = file.ReadKind() == kReadPlain;
    file.BorrowMember(archive_.File(), *this, name, member.dataOffset, member.storedSize,
                      raw ? member.storedSize : member.size);
    return true;
}

bool FileSubArchive::Exists(InternedString& /*substName*/, const char* name) {
    const ScopedLock hold(lock_);
    if (LookUp(name)) return true;
    // A last component with a dot counts as a file's name, not as a folder's. This is fixed.
    const std::string_view last(FileNamePart(name));
    return *name != '\0' && last.find_first_of(".*?") == std::string_view::npos &&
           archive_.Folders().IsDirectory(name, true);
}

bool FileSubArchive::Stat(std::uint32_t& writeTime, const char* name) {
    const ScopedLock hold(lock_);
    const auto ordinal = LookUp(name);
    if (ordinal) writeTime = archive_.Table()[*ordinal].writeTime;
    return ordinal.has_value();
}

int FileSubArchive::BeginFind() {
    const ScopedLock hold(lock_);
    // Handles are reused, so that the list is as long as the most searches at one time.
    const auto free = std::ranges::find_if(searches_, [](const auto& search) { return !search; });
    const auto handle = static_cast<std::size_t>(free - searches_.begin());
    if (free == searches_.end()) searches_.emplace_back();
    searches_[handle].emplace(archive_);
    return static_cast<int>(handle);
}

void FileSubArchive::EndFind(int search) {
    const ScopedLock hold(lock_);
    const auto handle = static_cast<std::size_t>(search);  // too large if it was negative
    if (handle < searches_.size()) searches_[handle].reset();
}

bool FileSubArchive::FindNext(const char* pattern, int search, archive::FindEntry& entry,
                              bool advance, bool exact) {
    const ScopedLock hold(lock_);
    const auto handle = static_cast<std::size_t>(search);
    if (handle >= searches_.size() || !searches_[handle] || !archive_.IsUsable()) return false;
    ArchiveSearch& found = *searches_[handle];
    if (!exact) return found.Next(pattern, entry, advance);

    const auto ordinal = LookUp(pattern);
    if (!ordinal) return false;
    entry = archive_.EntryOf(*ordinal);
    found.MoveTo(*ordinal, advance);
    return true;
}

bool FileSubArchive::BeginChanges() {
    WaitForOtherChanges();
    const ScopedLock hold(lock_);
    return changes_.Enter();
}

void FileSubArchive::WaitForOtherChanges() {
    const platform::FileHandle* file = nullptr;
    int patience = 0;
    {
        const ScopedLock hold(lock_);
        const auto wanted = changes_.Patience();
        if (!wanted) return;
        patience = *wanted;
        file = &archive_.File();
    }
    // Without lock_, which is safe because the descriptor stays open as long as the mount. The lock
    // belongs to the handle, so that Enter has it at once. Another thread of this mount may use it
    // first, which does no harm.
    const bool locked = file->LockChanges(patience);
    const ScopedLock hold(lock_);
    changes_.SetWaitedInVain(!locked);
}

bool FileSubArchive::CanAdd(const char* name) const {
    const ScopedLock hold(lock_);
    // In an archive of an older version, streams have a shorter header: new ones could not be read.
    return archive_.MayChange() &&
           archive_.Contents().header.version == archive::kArchiveVersion102 &&
           std::string_view(name).size() < kMaxPath;
}

bool FileSubArchive::MayCreate(const char* name, platform::Creation creation) {
    using platform::Creation;
    // Only this one may replace a member, because it needs nothing of the old content.
    if (creation == Creation::CreateOrTruncate) return true;
    if (creation == Creation::OpenExisting) return false;
    const ScopedLock hold(lock_);
    return !LookUp(name);
}

bool FileSubArchive::OpenWrite(OpenFile& file, const char* name, OpenFlags flags) {
    if (!CanAdd(name) || !WritesMember(file.WriteKind())) return false;
    if (!MayCreate(name, flags.creation)) return false;
    // Several members may be written at a time, but an archive grows only at one place. So each is
    // written to a temporary file first, and added when it is closed.
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
    // A member whose content is incomplete is dropped, for which no lock is needed.
    if (!file.WriteFailed()) WaitForOtherChanges();
    const ScopedLock hold(lock_);
    const bool added = !file.WriteFailed() && changes_.Enter() && CanAdd(file.Name()) &&
                       AddFrom(content, file, size);
    // Kept for the next member, which saves creating a file for each. The content of a small member
    // may stay in it; what was not added may be of any length.
    if ((added && size <= kKeptInSpare) || content.Truncate(0)) {
        spareTemporary_ = std::move(content);
    }
    // After the end of its mount nothing else would complete the archive and release its lock.
    return (!mountEnded_ || Complete()) && added;
}

bool FileSubArchive::AddFrom(const platform::FileHandle& content, const OpenFile& file,
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
    return Add(file.Name(), size, file.WriteKind() == kWriteCompressed, nextPiece);
}

bool FileSubArchive::AddMember(const char* name, std::span<const std::byte> content,
                               bool compress) {
    if (IsSeparator(*name)) ++name;
    const ScopedLock hold(lock_);
    return changes_.Enter() && CanAdd(name) &&
           Add(name, static_cast<std::uint32_t>(content.size()), compress,
               [content](std::uint32_t done, std::uint32_t count) {
                   return content.subspan(done, count);
               });
}

bool FileSubArchive::Add(const char* name, std::uint32_t size, bool compress,
                         const ArchiveChanges::NextPiece& nextPiece) {
    lastAdded_ = changes_.Add(name, size, compress, nextPiece);
    return lastAdded_ == ArchiveChanges::Result::Done;
}

bool FileSubArchive::WasFull() const {
    const ScopedLock hold(lock_);
    return lastAdded_ == ArchiveChanges::Result::Full;
}

void FileSubArchive::AddInBatches() {
    const ScopedLock hold(lock_);
    changes_.AddInBatches();
}

bool FileSubArchive::Flush() {
    const ScopedLock hold(lock_);
    return changes_.Flush();
}

std::vector<std::string> FileSubArchive::TakeLost() {
    const ScopedLock hold(lock_);
    return changes_.TakeLost();
}

void FileSubArchive::CollectToDelete(const char* name, FileSubs& list) {
    const ScopedLock hold(lock_);
    if (archive_.MayChange() && LookUp(name)) list.push_back(shared_from_this());
}

// The list has called BeginChanges if there is such a member.
bool FileSubArchive::Delete(const char* name) {
    const ScopedLock hold(lock_);
    // Looked up before the lock is taken: an archive without that member needs no change. Delete
    // looks it up again, because Enter may have read the archive again.
    return LookUp(name) && changes_.Enter() && changes_.Active() && changes_.Delete(name);
}

bool FileSubArchive::Complete() {
    const ScopedLock hold(lock_);
    return changes_.Complete();
}

void FileSubArchive::EndMount() {
    const ScopedLock hold(lock_);
    mountEnded_ = true;  // members may still be finished, each of which then completes the archive
    (void)Complete();
}

}  // namespace Vorn
