// Creating an archive, adding and deleting members, writing the index.
#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/MemberWriter.h"
#include "KernelStandard/ReadAhead.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace Vorn {

namespace {

constexpr std::uint32_t kIndexBatch = 1024;  // records written at a time

FileSubArchive::ProgressHook progressHook = nullptr;

[[nodiscard]] constexpr std::uint64_t IndexChunkSize(std::uint64_t count) {
    return kChunkHeaderSize + count * kIndexRecordSize;
}

[[nodiscard]] bool WritesMember(FileMode writeKind) {
    return writeKind == kWritePlain || writeKind == kWriteCompressed;
}

}  // namespace

void FileSubArchive::SetProgressHook(ProgressHook hook) { progressHook = hook; }

FileSubArchive::~FileSubArchive() { (void)Complete(); }

void FileSubArchive::BeginArchive() {
    header_.magic = kArchiveMagic;
    header_.version = kArchiveVersion102;
    headerInPlace_ = true;
    indexValid_ = true;
}

void FileSubArchive::CreateArchive() {
    using namespace platform;
    const bool created =
        handle_.Open(path_.c_str(), Access::ReadWrite, Creation::CreateNew, Share::DenyNone);
    // Another process may have been quicker to create it, or to change what was created here.
    changing_ = created && handle_.LockChanges(0);
    if (!changing_ && (created || handle_.Open(path_.c_str(), Access::ReadWrite,
                                               Creation::OpenExisting, Share::DenyNone))) {
        return ReadArchive();
    }
    BeginArchive();
    if (!created || !WriteAt(0, EncodePreamble(header_))) {
        handle_.Close();
        if (created) (void)RemoveFile(path_.c_str());
        throw FileEx("KernelStandard/FileSubArchive", __LINE__,
                     "Substitute() Open new archive failed");
    }
    indexDirty_ = true;
}

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
    changing_ = handle_.LockChanges(0);
    if (changing_ && TakeFootprint() != footprint_) ReadAnew();
    return changing_;
}

bool FileSubArchive::CanAddMembers() const {
    return IsAvailable() && headerInPlace_ && header_.version == kArchiveVersion102;
}

bool FileSubArchive::MayCreate(const char* name, platform::Creation creation) {
    using platform::Creation;
    if (creation == Creation::CreateOrTruncate) return true;
    if (creation == Creation::OpenExisting) return false;
    const ScopedLock hold(lock_);
    return LookUp(name) == nullptr;
}

bool FileSubArchive::OpenWrite(File& file, const char* name, OpenFlags flags) {
    if (!CanAddMembers() || !WritesMember(file.WriteKind())) return false;
    if (std::string_view(name).size() >= kMaxPath || !MayCreate(name, flags.creation)) return false;
    platform::FileHandle temporary = TakeTemporary();
    if (!temporary.IsOpen()) return false;
    file.AttachNewMember(std::move(temporary), *this, name);
    return true;
}

platform::FileHandle FileSubArchive::TakeTemporary() {
    const ScopedLock hold(lock_);
    platform::FileHandle temporary = std::move(spareTemporary_);
    if (temporary.IsOpen()) return temporary;
    const TemporaryName name = MakeTemporaryName();
    if (temporary.OpenTemporary(name.data())) return temporary;
    PathBuffer besideArchive = path_;
    StripFileName(besideArchive, false);
    (void)temporary.OpenTemporary((std::string(besideArchive.View()) + name.data()).c_str());
    return temporary;
}

bool FileSubArchive::CloseFile(File& file) {
    CountClosed();
    if (!WritesMember(file.WriteKind())) return true;
    constexpr std::uint32_t kKeptInSpare = 65536;  // bytes; more of them give their room back
    const std::uint32_t size = file.Size();
    platform::FileHandle content = std::move(file.OwnHandle());
    if (!file.WriteFailed()) WaitForOtherChanges();
    const ScopedLock hold(lock_);
    const bool added =
        !file.WriteFailed() && EnterChanges() && CanAddMembers() && AddMember(file, content, size);
    if ((added && size <= kKeptInSpare) || content.Truncate(0)) {
        spareTemporary_ = std::move(content);
    }
    return added;
}

bool FileSubArchive::AddMember(const File& file, const platform::FileHandle& content,
                               std::uint32_t size) {
    FindEntry entry;
    SetPath(entry.name, file.Name());
    entry.size = size;
    if (file.WriteKind() == kWriteCompressed) entry.attributes = kMemberCompressed;
    // First, for a walk would meet the new member in the file.
    LearnAllMembers();
    const auto replaced = LookUpOrdinal(file.Name());

    std::int64_t length = handle_.Length();
    if (length == 0) {
        if (!WriteAt(0, EncodePreamble(header_))) return false;
        length = kArchivePreambleSize;
    }
    const auto offset = WriteOffset(length);
    if (!offset) return false;
    // Behind the member goes the index.
    const std::uint64_t limit =
        kMaxArchiveSize - std::min(kMaxArchiveSize, IndexChunkSize(index_.Count() + 1));
    const std::uint64_t leastSize = kMemberPrefixSize + (entry.attributes == 0 ? size : 0);
    wasFull_ = *offset + leastSize > limit;
    if (wasFull_) return false;
    if (indexValid_) indexDirty_ = true;  // the old index is overwritten

    MemberWriter writer(handle_, writeBuffer_, *offset, limit, entry);
    const bool atEnd = static_cast<std::uint64_t>(length) == *offset;
    if ((atEnd || handle_.Truncate(*offset)) && writer.Copy(content, progressHook) &&
        writer.Finish() && TakeOver(writer, entry, replaced)) {
        return true;
    }
    wasFull_ = writer.WasFull();
    (void)handle_.Truncate(*offset);
    return false;
}

bool FileSubArchive::TakeOver(const MemberWriter& writer, const FindEntry& entry,
                              std::optional<Ordinal> replaced) {
    if (replaced && !DeleteMember(*replaced)) {
        // Without a mark a walk finds the old member first; an index need not have it.
        if (!indexValid_) return false;
        index_.Remove(*replaced);
    }
    if (indexValid_) {
        index_.Add(static_cast<std::uint32_t>(writer.DataOffset()), entry.storedSize, entry);
        header_.indexOffset = static_cast<std::uint32_t>(writer.End());
    }
    return true;
}

std::optional<std::uint64_t> FileSubArchive::WriteOffset(std::int64_t length) {
    if (length < 0 || static_cast<std::uint64_t>(length) > kMaxArchiveSize) return std::nullopt;
    if (!indexValid_) {
        return LeaveIndex() ? SealEnd(static_cast<std::uint32_t>(length)) : std::nullopt;
    }
    const bool overIndex = header_.indexOffset != 0 && index_.EndOfData() <= header_.indexOffset;
    return overIndex ? header_.indexOffset : static_cast<std::uint64_t>(length);
}

// Another reader may find the index whole, or take what is appended for its records.
bool FileSubArchive::LeaveIndex() {
    if (indexLeft_) indexLeft_ = !WriteAt(0, EncodePreamble(header_));
    return !indexLeft_;
}

std::optional<std::uint64_t> FileSubArchive::SealEnd(std::uint32_t size) {
    std::uint64_t position = std::max<std::uint64_t>(index_.EndOfData(), kFirstChunkOffset);
    if (position > size) return std::nullopt;
    ReadAhead ahead(handle_);
    std::array<std::byte, kChunkHeaderSize> bytes{};
    while (ahead.Read(position, bytes)) {
        const ChunkHeader chunk = DecodeChunkHeader(bytes);
        const bool unfinished = chunk.Is(kMemberChunk) && chunk.length < kFindEntrySize;
        const std::uint64_t end = position + kChunkHeaderSize + chunk.length;
        if (unfinished || end > size) {
            if (chunk.Is(kMemberChunk) && !unfinished) return std::nullopt;
            EncodeChunkHeader(bytes, kDeletedChunk,
                              static_cast<std::uint32_t>(size - position - kChunkHeaderSize));
            return WriteAt(position, bytes) ? std::optional<std::uint64_t>(size) : std::nullopt;
        }
        position = end;
    }
    return position;
}

bool FileSubArchive::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) {
    return handle_.WriteAt(offset, bytes) == bytes.size();
}

bool FileSubArchive::Delete(const char* name) {
    if (readOnly_ || !headerInPlace_) return false;
    {
        const ScopedLock hold(lock_);
        if (!LookUpOrdinal(name)) return false;  // nothing to wait for
    }
    WaitForOtherChanges();
    const ScopedLock hold(lock_);
    if (!EnterChanges() || !headerInPlace_) return false;
    const auto ordinal = LookUpOrdinal(name);
    return ordinal && DeleteMember(*ordinal);
}

bool FileSubArchive::DeleteMember(Ordinal ordinal) {
    const std::uint32_t dataOffset = index_[ordinal].dataOffset;
    std::array<std::byte, 4> mark{};
    if (!LeaveIndex()) return false;
    if (dataOffset < kMemberPrefixSize || !ReadExactly(dataOffset - kMemberPrefixSize, mark)) {
        return false;
    }
    // Another process may have deleted it already. An index that points elsewhere must not make us
    // write there.
    if (!MarkEquals(mark, kDeletedChunk) &&
        (!MarkEquals(mark, kMemberChunk) ||
         !WriteAt(dataOffset - kMemberPrefixSize, std::as_bytes(std::span(kDeletedChunk))))) {
        return false;
    }
    index_.Remove(ordinal);
    if (indexValid_) indexDirty_ = true;
    return true;
}

bool FileSubArchive::Complete() {
    const ScopedLock hold(lock_);
    if (!changing_ || !IsAvailable()) return true;
    if (indexValid_ && indexDirty_) indexDirty_ = !WriteIndex();
    if (indexDirty_) return false;
    footprint_ = TakeFootprint();
    changing_ = false;
    handle_.UnlockChanges();
    return true;
}

bool FileSubArchive::WriteIndex() {
    const auto offset = WriteOffset(handle_.Length());
    if (!offset || *offset + IndexChunkSize(index_.Count()) > kMaxArchiveSize) return false;
    if (!WriteIndexChunk(*offset)) return false;
    header_.memberCount = index_.Count();
    header_.indexOffset = static_cast<std::uint32_t>(*offset);
    // The index is none before the header has its count.
    return WriteAt(0, EncodePreamble(header_)) &&
           WriteAt(*offset, std::as_bytes(std::span(kIndexChunk)));
}

// A deleted chunk first, for readers that come while it is written. The length is right from the
// start: a walk over the chunks of a file whose index was never finished must not take its records
// for chunks.
bool FileSubArchive::WriteIndexChunk(std::uint64_t offset) {
    std::vector<std::byte> batch(kChunkHeaderSize);
    batch.reserve(kChunkHeaderSize + std::size_t{kIndexBatch} * kIndexRecordSize);
    EncodeChunkHeader(std::span(batch).first<kChunkHeaderSize>(), kDeletedChunk,
                      static_cast<std::uint32_t>(index_.Count() * kIndexRecordSize));
    for (Ordinal ordinal = 0; ordinal < index_.End(); ++ordinal) {
        const MemberRecord& member = index_[ordinal];
        if (member.removed) continue;
        std::array<std::byte, kIndexRecordSize> bytes{};
        EncodeIndexRecord(bytes, {member.dataOffset, member.storedSize, member.entry});
        batch.insert(batch.end(), bytes.begin(), bytes.end());
        if (batch.size() + kIndexRecordSize <= batch.capacity()) continue;
        if (!WriteAt(offset, batch)) return false;
        offset += batch.size();
        batch.clear();
    }
    return WriteAt(offset, batch);
}

}  // namespace Vorn
