#include "archive/ChunkWriter.h"

#include <algorithm>
#include <cstring>

#include "archive/ChunkEdits.h"
#include "archive/Error.h"

namespace archive {
namespace {

constexpr std::size_t kBufferSize = 262144;

}  // namespace

void ChunkWriter::Append(std::span<const std::byte> bytes) {
    if (End() + bytes.size() > kMaxArchiveSize) {
        throw Error(ErrorCode::Full, "the archive would pass 4 GiB", End());
    }
    if (buffer_.size() + bytes.size() > kBufferSize) Flush();
    if (bytes.size() >= kBufferSize) {
        Write(written_, bytes);
        written_ += bytes.size();
    } else {
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    }
}

void ChunkWriter::AppendIndex(const MemberTable& members) {
    std::array<std::byte, kChunkHeaderSize> header{};
    EncodeChunkHeader(header, kIndexChunk,
                      static_cast<std::uint32_t>(members.Count() * kIndexRecordSize));
    Append(header);
    std::array<std::byte, kIndexRecordSize> record{};
    for (MemberTable::Ordinal ordinal = 0; ordinal < members.End(); ++ordinal) {
        if (!members.Has(ordinal)) continue;
        members.EncodeRecord(ordinal, record);
        Append(record);
    }
}

void ChunkWriter::Replace(std::uint64_t offset, std::span<const std::byte> bytes) {
    if (offset < written_) Flush();
    if (offset < written_) return Write(offset, bytes);
    std::ranges::copy(bytes, buffer_.begin() + static_cast<std::ptrdiff_t>(offset - written_));
}

void ChunkWriter::Flush() {
    if (buffer_.empty()) return;
    Write(written_, buffer_);
    written_ += buffer_.size();
    buffer_.clear();
}

void ChunkWriter::Write(std::uint64_t offset, std::span<const std::byte> bytes) {
    WriteAt(file_, offset, bytes);
    if (!piece_) piece_ = std::make_unique_for_overwrite<Piece>();
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), piece_->size());
        const auto read = std::span(*piece_).first(count);
        const bool isRead = file_.ReadAt(offset, read) == static_cast<std::int64_t>(count);
        if (!isRead || std::memcmp(read.data(), bytes.data(), count) != 0) {
            throw Error(ErrorCode::CannotRead,
                        "what was written reads back otherwise; the disk or the memory of this "
                        "machine may be faulty",
                        offset);
        }
        offset += count;
        bytes = bytes.subspan(count);
    }
}

void ChunkWriter::CutBack(std::uint64_t offset) {
    if (offset >= written_) return buffer_.resize(offset - written_);
    buffer_.clear();
    written_ = offset;
    // What follows is shorter, and would end before the rest of what was taken back.
    if (!file_.Truncate(offset)) {
        throw Error(ErrorCode::CannotWrite, "the archive cannot be written", offset);
    }
}

void ChunkWriter::Discard() {
    buffer_.clear();
    written_ = start_;
    // Nothing points at what stays if this fails.
    (void)file_.Truncate(start_);
}

}  // namespace archive
