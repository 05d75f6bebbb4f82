#include "archive/ContentReader.h"

namespace archive {

ContentReader::ContentReader(const platform::FileHandle& file, std::uint64_t fileSize,
                             std::uint32_t version, std::size_t window)
    : window_(file, window), fileSize_(fileSize), version_(version) {}

void ContentReader::Begin(const Member& member, std::uint64_t base) {
    member_ = member;
    position_ = begin_ = base + member.dataOffset;
    blocks_.reset();
    left_ = member.size;
    sum_ = {};
    finished_ = false;
    if (DataEnd() > fileSize_) {
        Fail(ErrorCode::Damaged, "its data reaches past the end of the file");
    }
    LookForStream();
    if (!IsStream() && member.size != member.storedSize) {
        Fail(ErrorCode::Damaged, "it is not compressed, and its two sizes differ");
    }
}

// The attribute or the sizes make a member a candidate, and the mark decides: the attribute may be
// missing, and plain content may begin with the mark.
void ContentReader::LookForStream() {
    const bool short101 = version_ == kArchiveVersion101;
    const std::size_t headerSize = short101 ? kShortStreamHeaderSize : kStreamHeaderSize;
    const bool marked = (member_.attributes & kMemberCompressed) != 0;
    if ((!marked && member_.size == member_.storedSize) || member_.storedSize < headerSize) {
        return;
    }
    const auto header = window_.At(position_, headerSize, member_.storedSize);
    if (header.size() < headerSize || !IsStreamMark(header)) return;
    if (!short101) {
        const StreamHeader stream = DecodeStreamHeader(header.first<kStreamHeaderSize>());
        // Earlier streams do not record their size.
        if (stream.version >= kStreamVersion && stream.contentSize != member_.size) {
            Fail(ErrorCode::Damaged, "its compressed stream has another size than its entry");
        }
    }
    blocks_.emplace(position_ + headerSize, DataEnd());
}

std::span<const std::byte> ContentReader::Next() {
    if (left_ == 0) {
        if (!finished_) Finish();
        return {};
    }
    const auto piece = IsStream() ? NextBlock() : NextPlain();
    left_ -= static_cast<std::uint32_t>(piece.size());
    if (member_.crc != 0) sum_.Update(piece);  // 0: no sum was recorded
    return piece;
}

std::span<const std::byte> ContentReader::NextPlain() {
    const auto piece = window_.Some(position_, left_);
    if (piece.empty()) Fail(ErrorCode::Damaged, "the file ends inside its data");
    position_ += piece.size();
    return piece;
}

std::span<const std::byte> ContentReader::NextBlock() {
    if (!block_) {
        block_ = std::make_unique_for_overwrite<std::array<std::byte, kBlockSize>>();
    }
    const auto piece = blocks_->Next(window_, left_, *block_);
    if (blocks_->Problem()) Fail(ErrorCode::Damaged, blocks_->Problem());
    return piece;
}

void ContentReader::Finish() {
    finished_ = true;
    if (Position() != DataEnd()) {
        Fail(ErrorCode::Damaged, "bytes follow the last block of its compressed stream");
    }
    if (member_.crc != 0 && sum_.Value() != member_.crc) {
        throw Error(ErrorCode::SumDiffers, "its content disagrees with its check sum", begin_,
                    member_.name);
    }
}

void ContentReader::Fail(ErrorCode code, const char* reason) const {
    throw Error(code, reason, Position(), member_.name);
}

}  // namespace archive
