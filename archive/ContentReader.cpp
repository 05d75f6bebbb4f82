#include "archive/ContentReader.h"

#include "archive/BytePair.h"

namespace archive {

ContentReader::ContentReader(const platform::FileHandle& file, std::uint64_t fileSize,
                             std::uint32_t version, std::size_t window)
    : window_(file, window), fileSize_(fileSize), version_(version) {}

void ContentReader::Begin(const Member& member) {
    member_ = member;
    position_ = member.dataOffset;
    left_ = member.size;
    sum_ = {};
    finished_ = false;
    if (member.DataEnd() > fileSize_) {
        Fail(ErrorCode::Damaged, "its data reaches past the end of the file");
    }
    stream_ = BeginsStream();
    if (!stream_ && member.size != member.storedSize) {
        Fail(ErrorCode::Damaged, "it is not compressed, and its two sizes differ");
    }
}

// Leaves `position_` at the first block.
bool ContentReader::BeginsStream() {
    const bool short101 = version_ == kArchiveVersion101;
    const std::size_t headerSize = short101 ? kShortStreamHeaderSize : kStreamHeaderSize;
    const bool marked = (member_.attributes & kMemberCompressed) != 0;
    if ((!marked && member_.size == member_.storedSize) || member_.storedSize < headerSize) {
        return false;
    }
    const auto header = window_.At(position_, headerSize, member_.storedSize);
    if (header.size() < headerSize || !IsStreamMark(header)) return false;
    if (!short101) {
        const StreamHeader stream = DecodeStreamHeader(header.first<kStreamHeaderSize>());
        if (stream.version >= kStreamVersion && stream.contentSize != member_.size) {
            Fail(ErrorCode::Damaged, "its compressed stream has another size than its entry");
        }
    }
    position_ += headerSize;
    return true;
}

std::span<const std::byte> ContentReader::Next() {
    if (left_ == 0) {
        if (!finished_) Finish();
        return {};
    }
    const auto piece = stream_ ? NextBlock() : NextPlain();
    left_ -= static_cast<std::uint32_t>(piece.size());
    if (member_.crc != 0) sum_.Update(piece);
    return piece;
}

std::span<const std::byte> ContentReader::NextPlain() {
    const auto piece = window_.Some(position_, left_);
    if (piece.empty()) Fail(ErrorCode::Damaged, "the file ends inside its data");
    position_ += piece.size();
    return piece;
}

// Only the last block, or a stored one, holds less than 16,384 bytes of content.
std::span<const std::byte> ContentReader::NextBlock() {
    const std::uint64_t stored = member_.DataEnd() - position_;
    if (stored < kBlockHeaderSize) Fail(ErrorCode::Damaged, "its compressed stream is cut short");
    const auto first = window_.At(position_, kBlockHeaderSize, stored);
    if (first.size() < kBlockHeaderSize) {
        Fail(ErrorCode::Damaged, "the file ends inside its data");
    }
    const BlockHeader header = DecodeBlockHeader(first.first<kBlockHeaderSize>());
    const std::size_t expected = std::min<std::size_t>(kBlockSize, left_);
    const std::size_t whole = kBlockHeaderSize + header.length;
    if (!IsPossible(header, left_) || whole > stored) {
        Fail(ErrorCode::Damaged, "a block of its compressed stream has an impossible length");
    }
    const auto bytes = window_.At(position_, whole, stored);
    if (bytes.size() < whole) Fail(ErrorCode::Damaged, "the file ends inside its data");
    const auto data = bytes.subspan(kBlockHeaderSize);
    if (header.stored) {
        position_ += whole;
        return data;
    }
    if (!block_) {
        block_ = std::make_unique_for_overwrite<std::array<std::byte, kBlockSize>>();
    }
    const auto expanded = ExpandBlock(*block_, data);
    if (!expanded || *expanded != expected) {
        Fail(ErrorCode::Damaged, "a block of its compressed stream does not expand to its size");
    }
    position_ += whole;
    return std::span(*block_).first(expected);
}

void ContentReader::Finish() {
    finished_ = true;
    if (position_ != member_.DataEnd()) {
        Fail(ErrorCode::Damaged, "bytes follow the last block of its compressed stream");
    }
    if (member_.crc != 0 && sum_.Value() != member_.crc) {
        position_ = member_.dataOffset;
        Fail(ErrorCode::SumDiffers, "its content disagrees with its check sum");
    }
}

void ContentReader::Fail(ErrorCode code, const char* reason) const {
    throw Error(code, reason, position_, member_.name);
}

}  // namespace archive
