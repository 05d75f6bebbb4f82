#include "archive/Appender.h"

#include <algorithm>

#include "archive/ChunkEdits.h"

namespace archive {

namespace {

constexpr std::size_t kBufferSize = 262144;  // a batch of small members is one write

// Encodes the header that hides a member, and everything after it, until the member is whole: walks
// skip deleted chunks, and this one reaches past the end of any file.
void EncodeHidden(std::span<std::byte, kChunkHeaderSize> bytes) {
    EncodeChunkHeader(bytes, kDeletedChunk, static_cast<std::uint32_t>(kMaxArchiveSize));
}

[[nodiscard]] std::uint32_t ChunkLength(const Member& member) {
    return static_cast<std::uint32_t>(kFindEntrySize + member.storedSize);
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
    FindEntry entry;
    entry.size = member.size.value_or(0);
    if (member.compress) entry.attributes = kMemberCompressed;
    BeginChunk(member, entry, false);
    if (member.compress) Append(EncodeStreamHeader(entry.size));
}

void Appender::BeginStored(const NewMember& as, const Member& member) {
    FindEntry entry;
    entry.size = member.size;
    entry.crc = member.crc;
    entry.creationTime = member.creationTime;
    entry.accessTime = member.accessTime;
    entry.writeTime = member.writeTime;
    entry.attributes = member.attributes;
    NewMember stored = as;
    stored.compress = false;
    stored.size = member.storedSize;
    BeginChunk(stored, entry, true);
}

void Appender::BeginChunk(const NewMember& as, const FindEntry& entry, bool asStored) {
    if (as.name.size() >= Vorn::kMaxPath || as.name.find('\0') != std::string_view::npos) {
        throw Error(ErrorCode::BadName, "its name does not fit an archive", 0, as.name);
    }
    if (contents_.header.version != kArchiveVersion102) {
        throw Error(ErrorCode::Refused, "archives of an earlier format take no new members");
    }
    Prepare();
    // The index must still fit with this member in it, or the archive could not be completed.
    limit_ =
        kMaxArchiveSize -
        std::min(kMaxArchiveSize, IndexChunkSize(std::uint64_t{contents_.members.Count()} + 1));
    const std::uint64_t least = kMemberPrefixSize + (as.compress ? 0 : as.size.value_or(0));
    if (End() + least > limit_) {
        throw Error(ErrorCode::Full, "the archive would pass 4 GiB", End(), as.name);
    }
    Begun& begun = begun_.emplace(
        Begun{.as = as, .entry = entry, .asStored = asStored, .chunkOffset = End(), .sum = {}});
    Vorn::SetPath(begun.entry.name, as.name);
    begun.as.name = begun.entry.Name();  // the caller's may be gone at the next call
    piece_.clear();
    std::array<std::byte, kMemberPrefixSize> prefix{};
    EncodeHidden(std::span(prefix).first<kChunkHeaderSize>());
    EncodeEntry(std::span(prefix).last<kFindEntrySize>(), begun.entry);
    Append(prefix);
}

void Appender::Write(std::span<const std::byte> content) {
    Begun& begun = *begun_;
    begun.taken += content.size();
    if (begun.as.size && begun.taken > *begun.as.size) {
        AbandonAndThrow(ErrorCode::CannotRead, "it has more content than was announced");
    }
    if (begun.taken > kMaxArchiveSize) {
        AbandonAndThrow(ErrorCode::Full, "its content has more than 4 GiB");
    }
    if (!begun.asStored) begun.sum.Update(content);
    if (!begun.as.compress) return Append(content);
    while (!content.empty()) {
        const std::size_t count = std::min(content.size(), kBlockSize - piece_.size());
        piece_.insert(piece_.end(), content.begin(),
                      content.begin() + static_cast<std::ptrdiff_t>(count));
        content = content.subspan(count);
        // The last block of a known size is packed here, so that StoredSoFar counts it.
        const bool last = content.empty() && begun.taken == begun.as.size;
        if (piece_.size() == kBlockSize || last) EncodePiece();
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

// Adds to the member that was begun.
void Appender::Append(std::span<const std::byte> bytes) {
    if (End() + bytes.size() > limit_) {
        AbandonAndThrow(ErrorCode::Full, "the archive would pass 4 GiB");
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
        // Large pieces, such as stored data that is copied, need not pass through the buffer. It is
        // empty here: no other byte would fit beside such a piece.
        if (count == kBufferSize && pending_.empty()) {
            WriteBegun(written_, bytes);
            written_ += bytes.size();
            return;
        }
        buffer_.insert(buffer_.end(), bytes.begin(),
                       bytes.begin() + static_cast<std::ptrdiff_t>(count));
        bytes = bytes.subspan(count);
    }
}

void Appender::Finish() {
    if (begun_->as.size && begun_->taken != *begun_->as.size) {
        AbandonAndThrow(ErrorCode::CannotRead, "it has less content than was announced");
    }
    EncodePiece();
    FindEntry& entry = begun_->entry;
    entry.storedSize = StoredSoFar();
    if (!begun_->asStored) {
        entry.size = static_cast<std::uint32_t>(begun_->taken);
        entry.crc = begun_->sum.Value();
    }
    std::array<std::byte, kFindEntrySize> encoded{};
    EncodeEntry(encoded, entry);
    const std::uint64_t chunkOffset = begun_->chunkOffset;
    const bool inFile = written_ > chunkOffset;
    WriteLate(encoded);
    const auto ordinal = contents_.members.Add(
        static_cast<std::uint32_t>(chunkOffset + kMemberPrefixSize), entry.storedSize, encoded);
    pending_.push_back({ordinal, chunkOffset, begun_->as.replaces});
    begun_.reset();
    // What hides a member that is in the file already must be opened before others follow it.
    if (publish_ == Publish::EachMember || inFile) Flush();
}

// Writes what is known only now over the member's first bytes, in the file or in the buffer: its
// entry, the header of its stream, and of a chunk in the buffer the header.
void Appender::WriteLate(std::span<const std::byte, kFindEntrySize> encoded) {
    std::array<std::byte, kFindEntrySize + kStreamHeaderSize> late{};
    std::ranges::copy(encoded, late.begin());
    std::ranges::copy(EncodeStreamHeader(begun_->entry.size), late.begin() + kFindEntrySize);
    const auto known =
        std::span<const std::byte>(late).first(begun_->as.compress ? late.size() : kFindEntrySize);
    const std::uint64_t chunkOffset = begun_->chunkOffset;
    if (written_ > chunkOffset) {
        WriteOut();
        WriteBegun(chunkOffset + kChunkHeaderSize, known);
        return;
    }
    const auto chunk = std::span(buffer_).subspan(chunkOffset - written_);
    std::ranges::copy(known, chunk.begin() + kChunkHeaderSize);
    // The batch's first chunk stays hidden, and hides the others.
    if (chunkOffset != batchStart_) {
        EncodeChunkHeader(chunk.first<kChunkHeaderSize>(), kMemberChunk,
                          static_cast<std::uint32_t>(kFindEntrySize + begun_->entry.storedSize));
    }
}

void Appender::Abandon() {
    if (!begun_) return;
    const std::uint64_t chunkOffset = begun_->chunkOffset;
    begun_.reset();
    if (written_ >= chunkOffset) {
        (void)file_.Truncate(chunkOffset);
        written_ = chunkOffset;
        buffer_.clear();
    } else {
        buffer_.resize(chunkOffset - written_);
    }
}

void Appender::AbandonAndThrow(ErrorCode code, const char* reason) {
    const Error error(code, reason, begun_->chunkOffset, begun_->as.name);
    Abandon();
    throw error;
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
            if (count > 1) {
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
    const std::uint64_t open = begun_ ? begun_->chunkOffset : End();
    const std::uint64_t end = count < pending_.size() ? pending_[count].chunkOffset : open;
    if (end > written_) {
        if (written_ == batchStart_) EncodeHidden(std::span(buffer_).first<kChunkHeaderSize>());
        const auto size = static_cast<std::size_t>(end - written_);
        WriteAt(file_, written_, std::span(buffer_).first(size));
        buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(size));
        written_ = end;
    }
    std::array<std::byte, kChunkHeaderSize> header{};
    EncodeChunkHeader(header, kMemberChunk,
                      ChunkLength(contents_.members[pending_.front().ordinal]));
    WriteAt(file_, batchStart_, header);
    batchStart_ = end;
    if (contents_.Maintained()) contents_.header.indexOffset = static_cast<std::uint32_t>(end);
}

// Deletes what the first members of the batch replace, which have appeared.
void Appender::DeleteReplaced(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (!pending_[i].replaces) continue;
        try {
            MarkDeleted(file_, contents_, *pending_[i].replaces);
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
    begun_.reset();
    buffer_.clear();
    (void)file_.Truncate(end);
    batchStart_ = written_ = end;
}

// Writes the buffer, which then holds nothing but a part of the member that was begun.
void Appender::WriteOut() {
    WriteBegun(written_, buffer_);
    written_ += buffer_.size();
    buffer_.clear();
}

void Appender::WriteBegun(std::uint64_t offset, std::span<const std::byte> bytes) {
    try {
        WriteAt(file_, offset, bytes, begun_->as.name);
    } catch (const Error&) {
        Abandon();
        throw;
    }
}

// Finds the place of the first new chunk and cuts off the index there, so that no walk takes its
// records for chunks.
void Appender::Prepare() {
    if (prepared_) return;
    if (file_.Length() == 0) WriteAt(file_, 0, EncodePreamble(contents_.header));
    batchStart_ = written_ = PrepareEnd(file_, contents_);
    if (contents_.Maintained()) contents_.indexStale = true;
    if (file_.Length() != static_cast<std::int64_t>(batchStart_) && !file_.Truncate(batchStart_)) {
        throw Error(ErrorCode::CannotWrite, "the archive cannot be written", batchStart_);
    }
    prepared_ = true;
}

void Appender::Delete(MemberTable::Ordinal ordinal) {
    Flush();
    MarkDeleted(file_, contents_, ordinal);
}

void Appender::Complete() {
    Flush();
    if (!contents_.Maintained() || !contents_.indexStale) return;
    WriteIndex(file_, contents_, prepared_ ? batchStart_ : PrepareEnd(file_, contents_));
    prepared_ = false;
}

}  // namespace archive
