// Creating an archive, adding and deleting members, writing the index.
#include <algorithm>
#include <array>
#include <memory>

#include "KernelStandard/Crc32.h"
#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/LittleEndian.h"
#include "KernelStandard/ReadAhead.h"
#include "kernel/Exceptions.h"
#include "platform/Directories.h"

namespace Vorn {

namespace {

constexpr std::uint32_t kIndexBatch = 1024;  // records written at a time

FileSubArchive::ProgressHook progressHook = nullptr;

[[nodiscard]] bool WritesMember(FileMode writeKind) {
    return writeKind == kWritePlain || writeKind == kWriteCompressed;
}

}  // namespace

void FileSubArchive::SetProgressHook(ProgressHook hook) { progressHook = hook; }

FileSubArchive::~FileSubArchive() { (void)Complete(); }

void FileSubArchive::CreateArchive() {
    using namespace platform;
    header_.magic = kArchiveMagic;
    header_.version = kArchiveVersion102;
    headerInPlace_ = true;
    const bool created =
        handle_.Open(path_.c_str(), Access::ReadWrite, Creation::CreateNew, Share::DenyNone);
    if (!created || !WriteAt(0, EncodePreamble(header_))) {
        handle_.Close();
        if (created) (void)RemoveFile(path_.c_str());
        throw FileEx("KernelStandard/FileSubArchive", __LINE__,
                     "Substitute() Open new archive failed");
    }
    indexValid_ = true;
    indexDirty_ = true;
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
    const TemporaryName temporary = MakeTemporaryName();
    platform::FileHandle handle;
    if (!handle.Open(temporary.data(), platform::Access::Write,
                     platform::Creation::CreateOrTruncate, platform::Share::DenyAll)) {
        return false;
    }
    platform::SetHidden(temporary.data(), true);
    file.AttachOwned(std::move(handle), *this, name, temporary);
    return true;
}

bool FileSubArchive::CloseFile(File& file) {
    CountClosed();
    if (!WritesMember(file.WriteKind())) return true;
    const bool flushed = file.OwnHandle().Close() && !file.WriteFailed();
    platform::FileHandle content;
    bool added =
        flushed && content.Open(file.TemporaryPath(), platform::Access::Read,
                                platform::Creation::OpenExisting, platform::Share::DenyWrite);
    if (added) {
        const ScopedLock hold(lock_);
        added = AddMember(file, content);
    }
    content.Close();
    return platform::RemoveFile(file.TemporaryPath()) && added;
}

bool FileSubArchive::AddMember(const File& file, platform::FileHandle& content) {
    const std::int64_t length = content.Length();
    if (length < 0 || static_cast<std::uint64_t>(length) > kMaxArchiveSize) return false;
    NewMember member;
    SetPath(member.entry.name, file.Name());
    member.entry.size = static_cast<std::uint32_t>(length);
    // Looked up first: a walk would meet the new member in the file.
    const auto replaced = LookUpOrdinal(file.Name());

    const auto offset = WriteOffset();
    if (!offset) return false;
    member.chunkOffset = member.end = *offset;
    if (indexValid_) indexDirty_ = true;  // the old index is overwritten
    if (!WriteMember(content, file.WriteKind(), member)) {
        (void)handle_.Truncate(member.chunkOffset);
        return false;
    }
    // Without a mark the old member must not be found before the new one.
    if (replaced && !DeleteMember(*replaced)) index_.Remove(*replaced);
    if (indexValid_) {
        const std::uint64_t dataOffset = member.chunkOffset + kMemberPrefixSize;
        index_.Add(static_cast<std::uint32_t>(dataOffset), member.entry.storedSize, member.entry);
        header_.indexOffset = static_cast<std::uint32_t>(member.end);
    }
    return true;
}

std::optional<std::uint64_t> FileSubArchive::WriteOffset() {
    const std::int64_t length = handle_.Length();
    if (length < 0 || static_cast<std::uint64_t>(length) > kMaxArchiveSize) return std::nullopt;
    if (!indexValid_) {
        // A reader would take what is appended for the records that are missing.
        if (indexCut_ && !WriteAt(0, EncodePreamble(header_))) return std::nullopt;
        indexCut_ = false;
        return SealEnd(static_cast<std::uint32_t>(length));
    }
    const bool overIndex = header_.indexOffset != 0 && index_.EndOfData() <= header_.indexOffset;
    return overIndex ? header_.indexOffset : static_cast<std::uint64_t>(length);
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

bool FileSubArchive::WriteMember(platform::FileHandle& content, FileMode writeKind,
                                 NewMember& member) {
    std::array<std::byte, kMemberPrefixSize> prefix{};
    const std::span<std::byte, kMemberPrefixSize> bytes(prefix);
    // The length stays 0 until the member is complete.
    EncodeChunkHeader(bytes.first<kChunkHeaderSize>(), kMemberChunk, 0);
    EncodeEntry(bytes.subspan<kChunkHeaderSize, kFindEntrySize>(), member.entry);
    if (handle_.Seek(static_cast<std::int64_t>(member.chunkOffset), platform::SeekOrigin::Begin) <
            0 ||
        !Append(member, prefix)) {
        return false;
    }
    if (writeKind == kWriteCompressed) {
        member.entry.attributes = kMemberCompressed;
        if (!Append(member, EncodeStreamHeader(member.entry.size))) return false;
    }
    return CopyContent(content, writeKind, member) && FinishMember(member);
}

bool FileSubArchive::CopyContent(platform::FileHandle& content, FileMode writeKind,
                                 NewMember& member) {
    const bool compress = writeKind == kWriteCompressed;
    const auto piece = std::make_unique_for_overwrite<std::array<std::byte, kBlockSize>>();
    const auto block = std::make_unique_for_overwrite<BlockBuffer>();
    const std::uint64_t dataOffset = member.chunkOffset + kMemberPrefixSize;
    Crc32 crc;
    for (std::uint32_t done = 0; done < member.entry.size;) {
        const std::size_t wanted = std::min<std::size_t>(kBlockSize, member.entry.size - done);
        const auto bytes = std::span(*piece).first(wanted);
        if (content.Read(bytes) != static_cast<std::int64_t>(wanted)) return false;
        crc.Update(bytes);
        if (!Append(member, compress ? EncodeBlock(*block, bytes) : ByteView(bytes))) return false;
        done += static_cast<std::uint32_t>(wanted);
        if (progressHook != nullptr) {
            progressHook(done, compress ? static_cast<std::uint32_t>(member.end - dataOffset) : 0);
        }
    }
    member.entry.storedSize = static_cast<std::uint32_t>(member.end - dataOffset);
    member.entry.crc = crc.Value();
    return true;
}

// The length makes the member one: until now a walk over the chunks ends before it.
bool FileSubArchive::FinishMember(NewMember& member) {
    constexpr std::size_t kLengthOffset = 4;
    const std::uint64_t indexEnd =
        member.end + kChunkHeaderSize + (std::uint64_t{index_.Count()} + 1) * kIndexRecordSize;
    wasFull_ = indexEnd > kMaxArchiveSize;
    if (wasFull_) return false;
    std::array<std::byte, kMemberPrefixSize> prefix{};
    const std::span<std::byte, kMemberPrefixSize> bytes(prefix);
    EncodeChunkHeader(bytes.first<kChunkHeaderSize>(), kMemberChunk,
                      static_cast<std::uint32_t>(kFindEntrySize + member.entry.storedSize));
    EncodeEntry(bytes.subspan<kChunkHeaderSize, kFindEntrySize>(), member.entry);
    return WriteAt(member.chunkOffset + kLengthOffset, bytes.subspan<kLengthOffset>());
}

bool FileSubArchive::Append(NewMember& member, std::span<const std::byte> bytes) {
    wasFull_ = member.end + bytes.size() > kMaxArchiveSize;
    if (wasFull_) return false;
    member.end += bytes.size();
    return handle_.Write(bytes) == bytes.size();
}

bool FileSubArchive::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) {
    const auto wanted = static_cast<std::int64_t>(offset);
    return handle_.Seek(wanted, platform::SeekOrigin::Begin) == wanted &&
           handle_.Write(bytes) == bytes.size();
}

bool FileSubArchive::Delete(const char* name) {
    if (readOnly_ || !headerInPlace_) return false;
    const ScopedLock hold(lock_);
    const auto ordinal = LookUpOrdinal(name);
    return ordinal && DeleteMember(*ordinal);
}

bool FileSubArchive::DeleteMember(Ordinal ordinal) {
    const std::uint32_t dataOffset = index_[ordinal].dataOffset;
    std::array<std::byte, 4> mark{};
    // An index that points elsewhere must not make us write there.
    if (dataOffset < kMemberPrefixSize || !ReadExactly(dataOffset - kMemberPrefixSize, mark) ||
        !MarkEquals(mark, kMemberChunk) ||
        !WriteAt(dataOffset - kMemberPrefixSize, std::as_bytes(std::span(kDeletedChunk)))) {
        return false;
    }
    index_.Remove(ordinal);
    if (indexValid_) indexDirty_ = true;
    return true;
}

bool FileSubArchive::Complete() {
    const ScopedLock hold(lock_);
    if (readOnly_ || !IsAvailable() || !indexValid_ || !indexDirty_) return true;
    indexDirty_ = !WriteIndex();
    return !indexDirty_;
}

bool FileSubArchive::WriteIndex() {
    const auto offset = WriteOffset();
    if (!offset) return false;
    const std::uint64_t length = std::uint64_t{index_.Count()} * kIndexRecordSize;
    if (length > kMaxArchiveSize) return false;

    std::array<std::byte, kChunkHeaderSize> chunk{};
    EncodeChunkHeader(chunk, kIndexChunk, 0);
    if (!WriteAt(*offset, chunk) || !WriteIndexRecords()) return false;
    EncodeChunkHeader(chunk, kIndexChunk, static_cast<std::uint32_t>(length));
    if (!WriteAt(*offset, chunk)) return false;

    header_.memberCount = index_.Count();
    header_.indexOffset = static_cast<std::uint32_t>(*offset);
    return WriteAt(0, EncodePreamble(header_));
}

bool FileSubArchive::WriteIndexRecords() {
    std::vector<std::byte> batch;
    batch.reserve(std::size_t{kIndexBatch} * kIndexRecordSize);
    for (Ordinal ordinal = 0; ordinal < index_.End(); ++ordinal) {
        const MemberRecord& member = index_[ordinal];
        if (member.removed) continue;
        std::array<std::byte, kIndexRecordSize> bytes{};
        EncodeIndexRecord(bytes, {member.dataOffset, member.storedSize, member.entry});
        batch.insert(batch.end(), bytes.begin(), bytes.end());
        if (batch.size() < batch.capacity()) continue;
        if (handle_.Write(batch) != batch.size()) return false;
        batch.clear();
    }
    return handle_.Write(batch) == batch.size();
}

}  // namespace Vorn
