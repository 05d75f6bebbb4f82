#include "archive/Appender.h"

#include <algorithm>

#include "archive/Error.h"
#include "archive/Window.h"
#include "platform/Error.h"

namespace archive {

namespace {

constexpr std::size_t kBufferSize = 262144;   // a batch of small members is one write
constexpr std::size_t kRecordsAtOnce = 1024;  // 296 KB of index at a time
constexpr std::size_t kWalkWindow = 4096;     // a chunk header and the entry after it

[[nodiscard]] constexpr std::uint64_t IndexChunkSize(std::uint64_t count) {
    return kChunkHeaderSize + count * kIndexRecordSize;
}

// Encodes the header that hides a member, and everything after it, until the member is whole: walks
// skip deleted chunks, and this one reaches past the end of any file.
void EncodeHidden(std::span<std::byte, kChunkHeaderSize> bytes) {
    EncodeChunkHeader(bytes, kDeletedChunk, static_cast<std::uint32_t>(kMaxArchiveSize));
}

[[nodiscard]] std::uint32_t ChunkLength(const Member& member) {
    return static_cast<std::uint32_t>(kFindEntrySize + member.storedSize);
}

// Throws for the write that failed last.
[[noreturn]] void ThrowUnwritten(std::uint64_t offset, std::string_view member) {
    if (platform::LastError().kind == platform::ErrorKind::NoSpace) {
        throw Error(ErrorCode::NoSpace, "the disk is full", offset, member);
    }
    throw Error(ErrorCode::CannotWrite, "the archive cannot be written", offset, member);
}

}  // namespace

Appender::Appender(platform::FileHandle& file, Contents& contents, Publish publish)
    : file_(file), contents_(contents), publish_(publish) {
    if (!contents.headerInPlace) {
        throw Error(ErrorCode::Refused, "its header is not the first 44 bytes of the file");
    }
}

void Appender::Add(const NewMember& member, std::span<const std::byte> content) {
    Begin(member);
    Write(content);
    Finish();
}

void Appender::Begin(const NewMember& member) {
    entry_ = {};
    asStored_ = false;
    entry_.size = member.size.value_or(0);
    if (member.compress) entry_.attributes = kMemberCompressed;
    BeginChunk(member);
    if (member.compress) Append(EncodeStreamHeader(entry_.size));
}

void Appender::BeginStored(const NewMember& as, const Member& member) {
    entry_ = {};
    asStored_ = true;
    entry_.size = member.size;
    entry_.crc = member.crc;
    entry_.creationTime = member.creationTime;
    entry_.accessTime = member.accessTime;
    entry_.writeTime = member.writeTime;
    entry_.attributes = member.attributes;
    NewMember stored = as;
    stored.compress = false;
    stored.size = member.storedSize;
    BeginChunk(stored);
}

void Appender::BeginChunk(const NewMember& member) {
    if (member.name.size() >= Vorn::kMaxPath || member.name.find('\0') != std::string_view::npos) {
        throw Error(ErrorCode::BadName, "its name does not fit an archive", 0, member.name);
    }
    if (contents_.header.version != kArchiveVersion102) {
        throw Error(ErrorCode::Refused, "archives of an earlier format take no new members");
    }
    Prepare();
    limit_ =
        kMaxArchiveSize -
        std::min(kMaxArchiveSize, IndexChunkSize(std::uint64_t{contents_.members.Count()} + 1));
    const std::uint64_t least = kMemberPrefixSize + (member.compress ? 0 : member.size.value_or(0));
    if (End() + least > limit_) {
        throw Error(ErrorCode::Full, "the archive would pass 4 GiB", End(), member.name);
    }
    new_ = member;
    Vorn::SetPath(entry_.name, member.name);
    new_.name = entry_.Name();
    chunkOffset_ = End();
    taken_ = 0;
    sum_ = {};
    piece_.clear();
    begun_ = true;
    std::array<std::byte, kMemberPrefixSize> prefix{};
    EncodeHidden(std::span(prefix).first<kChunkHeaderSize>());
    EncodeEntry(std::span(prefix).last<kFindEntrySize>(), entry_);
    Append(prefix);
}

void Appender::Write(std::span<const std::byte> content) {
    taken_ += content.size();
    if (taken_ > new_.size.value_or(kMaxArchiveSize)) {
        Abandon();
        throw Error(ErrorCode::Full, "it has more content than was announced", End(), new_.name);
    }
    if (!asStored_) sum_.Update(content);
    if (!new_.compress) return Append(content);
    while (!content.empty()) {
        const std::size_t count = std::min(content.size(), kBlockSize - piece_.size());
        piece_.insert(piece_.end(), content.begin(),
                      content.begin() + static_cast<std::ptrdiff_t>(count));
        content = content.subspan(count);
        if (piece_.size() == kBlockSize || (content.empty() && taken_ == new_.size)) EncodePiece();
    }
}

void Appender::EncodePiece() {
    if (piece_.empty()) return;
    if (!block_) block_ = std::make_unique_for_overwrite<BlockBuffer>();
    Append(EncodeBlock(*block_, piece_));
    piece_.clear();
}

std::optional<MemberTable::Ordinal> Appender::Find(std::string_view name) {
    const auto found = contents_.members.Find(name);
    if (found) Settle(*found);
    return found ? contents_.members.Find(name) : found;
}

void Appender::Settle(MemberTable::Ordinal ordinal) {
    const auto concerns = [ordinal](const Pending& pending) {
        return pending.replaces == ordinal || pending.ordinal == ordinal;
    };
    if (std::ranges::any_of(pending_, concerns)) Flush();
}

std::uint32_t Appender::StoredSoFar() const {
    return static_cast<std::uint32_t>(End() - chunkOffset_ - kMemberPrefixSize);
}

void Appender::Append(std::span<const std::byte> bytes) {
    if (End() + bytes.size() > limit_) {
        const std::uint64_t end = End();
        Abandon();
        throw Error(ErrorCode::Full, "the archive would pass 4 GiB", end, new_.name);
    }
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), kBufferSize);
        if (buffer_.size() + count > kBufferSize) {
            // Finished members must appear first: once the file ends in a part of a member, the
            // header that hides them cannot be opened.
            if (!pending_.empty()) {
                PublishPending();
            } else {
                WriteOut();
            }
            continue;
        }
        buffer_.insert(buffer_.end(), bytes.begin(),
                       bytes.begin() + static_cast<std::ptrdiff_t>(count));
        bytes = bytes.subspan(count);
    }
}

void Appender::Finish() {
    if (new_.size && taken_ != *new_.size) {
        Abandon();
        throw Error(ErrorCode::CannotRead, "it has less content than was announced", 0, new_.name);
    }
    EncodePiece();
    FinishChunk();
    if (publish_ == Publish::EachMember || written_ > chunkOffset_) Flush();
}

void Appender::FinishChunk() {
    entry_.storedSize = StoredSoFar();
    if (!asStored_) {
        entry_.size = static_cast<std::uint32_t>(taken_);
        entry_.crc = sum_.Value();
    }
    // Content of unknown size: entry and stream header were written before it was known.
    std::array<std::byte, kFindEntrySize + kStreamHeaderSize> late{};
    EncodeEntry(std::span(late).first<kFindEntrySize>(), entry_);
    std::ranges::copy(EncodeStreamHeader(entry_.size), late.begin() + kFindEntrySize);
    const auto known =
        std::span<const std::byte>(late).first(new_.compress ? late.size() : kFindEntrySize);
    const std::uint64_t entryOffset = chunkOffset_ + kChunkHeaderSize;
    if (written_ > chunkOffset_) {
        WriteOut();
        WriteAt(entryOffset, known);
    } else {
        const auto chunk = std::span(buffer_).subspan(chunkOffset_ - written_);
        std::ranges::copy(known, chunk.begin() + kChunkHeaderSize);
        if (chunkOffset_ != batchStart_) {
            EncodeChunkHeader(chunk.first<kChunkHeaderSize>(), kMemberChunk,
                              static_cast<std::uint32_t>(kFindEntrySize + entry_.storedSize));
        }
    }
    const auto dataOffset = static_cast<std::uint32_t>(chunkOffset_ + kMemberPrefixSize);
    const auto ordinal = contents_.members.Add(dataOffset, entry_.storedSize,
                                               std::span(late).first<kFindEntrySize>());
    pending_.push_back({ordinal, chunkOffset_, new_.replaces});
    begun_ = false;
}

void Appender::Abandon() {
    if (!begun_) return;
    begun_ = false;
    if (written_ > chunkOffset_) {
        (void)file_.Truncate(chunkOffset_);
        written_ = chunkOffset_;
        buffer_.clear();
    } else {
        buffer_.resize(chunkOffset_ - written_);
    }
}

void Appender::Flush() {
    if (!pending_.empty()) PublishPending();
}

// A batch that cannot be written whole is written member by member, so that those that fit stay.
void Appender::PublishPending() {
    std::size_t count = pending_.size();
    while (!pending_.empty()) {
        try {
            PublishFirst(count);
        } catch (const Error&) {
            if (count > 1 && !pending_.empty()) {
                count = 1;
                continue;
            }
            DropFrom(0);
            throw;
        }
        DeleteReplaced(count);
    }
}

// Writes the first chunks of the batch and makes them members: the first chunk header last, since
// it hides the others. What follows them stays in the buffer and starts the next batch.
void Appender::PublishFirst(std::size_t count) {
    const std::uint64_t open = begun_ ? chunkOffset_ : End();
    const std::uint64_t end = count < pending_.size() ? pending_[count].chunkOffset : open;
    if (end > written_) {
        if (written_ == batchStart_) EncodeHidden(std::span(buffer_).first<kChunkHeaderSize>());
        const auto size = static_cast<std::size_t>(end - written_);
        WriteAt(written_, std::span(buffer_).first(size));
        buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(size));
        written_ = end;
    }
    std::array<std::byte, kChunkHeaderSize> header{};
    EncodeChunkHeader(header, kMemberChunk,
                      ChunkLength(contents_.members[pending_.front().ordinal]));
    WriteAt(batchStart_, header);
    batchStart_ = end;
    if (contents_.Maintained()) contents_.header.indexOffset = static_cast<std::uint32_t>(end);
}

// Deletes what the first members of the batch replace, which have appeared.
void Appender::DeleteReplaced(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (!pending_[i].replaces) continue;
        try {
            MarkDeleted(*pending_[i].replaces);
        } catch (const Error&) {
            // Without an index a walk would still find the old member first, so the new one must
            // go. With one, leaving the old member out of it is enough.
            if (!contents_.Maintained()) {
                DropFrom(i);
                throw;
            }
            contents_.members.Remove(*pending_[i].replaces);
        }
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(count));
}

// Drops the finished members of the batch from one on, and the member that was begun.
void Appender::DropFrom(std::size_t pending) {
    const std::uint64_t end = pending_[pending].chunkOffset;
    for (std::size_t i = pending; i < pending_.size(); ++i) {
        lost_.emplace_back(contents_.members.Name(pending_[i].ordinal));
        contents_.members.Remove(pending_[i].ordinal);
    }
    pending_.clear();
    begun_ = false;
    buffer_.clear();
    (void)file_.Truncate(end);
    batchStart_ = written_ = end;
}

void Appender::WriteOut() {
    try {
        WriteAt(written_, buffer_);
    } catch (const Error&) {
        if (begun_) {
            (void)file_.Truncate(chunkOffset_);
            begun_ = false;
            written_ = chunkOffset_;
            buffer_.clear();
        }
        throw;
    }
    written_ += buffer_.size();
    buffer_.clear();
}

// Finds the place of the first new chunk and cuts off the index there, so that no walk takes its
// records for chunks.
void Appender::Prepare() {
    if (prepared_) return;
    if (file_.Length() == 0) WriteAt(0, EncodePreamble(contents_.header));
    batchStart_ = written_ = WriteOffset();
    if (contents_.Maintained()) contents_.indexStale = true;
    if (file_.Length() != static_cast<std::int64_t>(batchStart_) && !file_.Truncate(batchStart_)) {
        throw Error(ErrorCode::CannotWrite, "the archive cannot be written", batchStart_);
    }
    prepared_ = true;
}

// Returns the offset of the next chunk: that of the old index unless members follow it, else the
// end of the file.
std::uint64_t Appender::WriteOffset() {
    const std::int64_t length = file_.Length();
    if (length < 0) throw Error(ErrorCode::CannotRead, "its length cannot be read");
    const auto size = static_cast<std::uint64_t>(length);
    if (size > kMaxArchiveSize) throw Error(ErrorCode::Full, "the file is longer than 4 GiB");
    if (!contents_.Maintained()) {
        const std::uint64_t end = SealEnd(size);
        LeaveIndex();
        return end;
    }
    const std::uint32_t index = contents_.header.indexOffset;
    return index != 0 && contents_.members.EndOfData() <= index ? index : size;
}

// Otherwise a reader could load the stale index, or read a new member as index records.
void Appender::LeaveIndex() {
    if (contents_.header.indexOffset == 0 || contents_.index == IndexState::Absent) return;
    contents_.header.indexOffset = 0;
    WriteAt(0, EncodePreamble(contents_.header));
    contents_.index = IndexState::Absent;
}

// Returns the offset where a walk over the chunks ends. A chunk that it cannot pass, such as a
// member that was never finished, becomes a deleted chunk. The walk starts at the first chunk, as
// that of a later reader does: the rest of a damaged index may list members that no walk reaches.
std::uint64_t Appender::SealEnd(std::uint64_t size) {
    const std::uint64_t known = contents_.members.EndOfData();
    std::uint64_t position = kFirstChunkOffset;
    Window window(file_, kWalkWindow);
    while (position + kChunkHeaderSize <= size) {
        const auto bytes = window.At(position, kChunkHeaderSize);
        if (bytes.size() < kChunkHeaderSize) break;
        const ChunkHeader chunk = DecodeChunkHeader(bytes.first<kChunkHeaderSize>());
        const bool unfinished = chunk.Is(kMemberChunk) && chunk.length < kFindEntrySize;
        const std::uint64_t end = position + kChunkHeaderSize + chunk.length;
        if (unfinished || end > size) {
            if ((chunk.Is(kMemberChunk) && !unfinished) || position < known) break;
            std::array<std::byte, kChunkHeaderSize> header{};
            EncodeChunkHeader(header, kDeletedChunk,
                              static_cast<std::uint32_t>(size - position - kChunkHeaderSize));
            WriteAt(position, header);
            return size;
        }
        position = end;
    }
    // A rest shorter than a chunk header is overwritten by the new member.
    if (position > size || position < known || position + kChunkHeaderSize <= size) {
        throw Error(ErrorCode::Damaged, "a member is cut short, or its place cannot be reached",
                    position);
    }
    return position;
}

void Appender::Delete(MemberTable::Ordinal ordinal) {
    Flush();
    MarkDeleted(ordinal);
}

void Appender::MarkDeleted(MemberTable::Ordinal ordinal) {
    const Member member = contents_.members[ordinal];
    if (!contents_.Maintained()) LeaveIndex();
    // Never let a corrupt index choose where we write.
    std::array<std::byte, 4> mark{};
    const bool read =
        member.dataOffset >= kMemberPrefixSize &&
        file_.ReadAt(member.dataOffset - kMemberPrefixSize, mark) == std::int64_t{mark.size()};
    const bool gone = read && MarkEquals(mark, kDeletedChunk);
    if (!gone) {
        if (!read || !MarkEquals(mark, kMemberChunk)) {
            throw Error(ErrorCode::Damaged, "there is no member at its place", member.dataOffset,
                        member.name);
        }
        WriteAt(member.dataOffset - kMemberPrefixSize, std::as_bytes(std::span(kDeletedChunk)));
    }
    contents_.members.Remove(ordinal);
    if (contents_.Maintained()) contents_.indexStale = true;
}

void Appender::Complete() {
    Flush();
    if (contents_.Maintained() && contents_.indexStale) WriteIndex();
}

// Writes the index as a deleted chunk first: a reader that opens the archive meanwhile must not
// load half an index. Its length is right from the start, so that a walk never takes records for
// chunks. The mark is written last, after the header that names it.
void Appender::WriteIndex() {
    const MemberTable& members = contents_.members;
    const std::uint64_t place = prepared_ ? batchStart_ : WriteOffset();
    if (place + IndexChunkSize(members.Count()) > kMaxArchiveSize) {
        throw Error(ErrorCode::Full, "the index does not fit: the archive would pass 4 GiB");
    }
    std::vector<std::byte> batch(kChunkHeaderSize);
    batch.reserve(kChunkHeaderSize + kRecordsAtOnce * kIndexRecordSize);
    EncodeChunkHeader(std::span(batch).first<kChunkHeaderSize>(), kDeletedChunk,
                      static_cast<std::uint32_t>(members.Count() * kIndexRecordSize));
    std::uint64_t offset = place;
    for (MemberTable::Ordinal ordinal = 0; ordinal < members.End(); ++ordinal) {
        if (!members.Has(ordinal)) continue;
        batch.resize(batch.size() + kIndexRecordSize);
        members.EncodeRecord(ordinal, std::span(batch).last<kIndexRecordSize>());
        if (batch.size() + kIndexRecordSize <= batch.capacity()) continue;
        WriteAt(offset, batch);
        offset += batch.size();
        batch.clear();
    }
    WriteAt(offset, batch);
    ArchiveHeader header = contents_.header;
    header.memberCount = members.Count();
    header.indexOffset = static_cast<std::uint32_t>(place);
    WriteAt(0, EncodePreamble(header));
    WriteAt(place, std::as_bytes(std::span(kIndexChunk)));
    contents_.header = header;
    contents_.index = IndexState::Whole;
    contents_.indexEnd = place + IndexChunkSize(members.Count());
    contents_.fileSize = std::max(contents_.fileSize, contents_.indexEnd);
    contents_.indexStale = false;
    prepared_ = false;
}

void Appender::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) {
    if (file_.WriteAt(offset, bytes) == bytes.size()) return;
    ThrowUnwritten(offset, begun_ ? new_.name : std::string_view());
}

Contents StartArchive(platform::FileHandle& file, std::uint32_t buildVersion,
                      std::uint32_t productCode) {
    Contents contents = NewContents(buildVersion, productCode);
    contents.indexStale = true;
    const auto preamble = EncodePreamble(contents.header);
    if (file.WriteAt(0, preamble) != preamble.size()) ThrowUnwritten(0, {});
    return contents;
}

}  // namespace archive
