#include "KernelStandard/MemberWriter.h"

#include <algorithm>
#include <array>
#include <memory>

#include "KernelStandard/CompressedStream.h"
#include "archive/Crc32.h"

namespace Vorn {
namespace {

constexpr std::size_t kBufferSize = 131072;

// The most that `size` bytes of content take up as a stream.
[[nodiscard]] std::uint64_t LongestStream(std::uint64_t size) {
    return kStreamHeaderSize + size + (size / kBlockSize + 1) * kBlockHeaderSize;
}

}  // namespace

MemberWriter::MemberWriter(platform::FileHandle& archive, std::vector<std::byte>& buffer,
                           std::uint64_t chunkOffset, std::uint64_t limit, FindEntry& entry)
    : archive_(archive),
      buffer_(buffer),
      chunkOffset_(chunkOffset),
      limit_(limit),
      entry_(entry),
      written_(chunkOffset) {
    buffer_.reserve(kBufferSize);
    buffer_.resize(kMemberPrefixSize);
    EncodePrefix(std::span(buffer_).first<kMemberPrefixSize>(), LongestStream(entry_.size));
}

void MemberWriter::EncodePrefix(std::span<std::byte, kMemberPrefixSize> bytes,
                                std::uint64_t dataLength) const {
    const std::uint64_t length = std::min(kFindEntrySize + dataLength, kMaxArchiveSize);
    EncodeChunkHeader(bytes.first<kChunkHeaderSize>(), kDeletedChunk,
                      static_cast<std::uint32_t>(length));
    EncodeEntry(bytes.subspan<kChunkHeaderSize, kFindEntrySize>(), entry_);
}

bool MemberWriter::Copy(const platform::FileHandle& content, Progress progress) {
    const bool compress = (entry_.attributes & kMemberCompressed) != 0;
    const auto piece = std::make_unique_for_overwrite<std::array<std::byte, kBlockSize>>();
    const auto block = std::make_unique_for_overwrite<BlockBuffer>();
    if (compress && !Append(EncodeStreamHeader(entry_.size))) return false;
    Crc32 crc;
    for (std::uint32_t done = 0; done < entry_.size;) {
        const std::size_t wanted = std::min<std::size_t>(kBlockSize, entry_.size - done);
        const auto bytes = std::span(*piece).first(wanted);
        if (content.ReadAt(done, bytes) != static_cast<std::int64_t>(wanted)) return false;
        crc.Update(bytes);
        if (!Append(compress ? EncodeBlock(*block, bytes) : ByteView(bytes))) return false;
        done += static_cast<std::uint32_t>(wanted);
        if (progress != nullptr) {
            progress(done, compress ? static_cast<std::uint32_t>(End() - DataOffset()) : 0);
        }
    }
    entry_.crc = crc.Value();
    return true;
}

bool MemberWriter::Finish() {
    constexpr std::size_t kMarkEnd = 3;
    const std::uint64_t dataLength = End() - DataOffset();
    entry_.storedSize = static_cast<std::uint32_t>(dataLength);
    std::array<std::byte, kMemberPrefixSize> prefix{};
    EncodePrefix(prefix, dataLength);
    const bool whole = written_ == chunkOffset_;
    if (whole) std::ranges::copy(prefix, buffer_.begin());
    const auto mark = std::as_bytes(std::span(kMemberChunk)).subspan(kMarkEnd);
    return Flush() && (whole || archive_.WriteAt(chunkOffset_, prefix) == prefix.size()) &&
           archive_.WriteAt(chunkOffset_ + kMarkEnd, mark) == mark.size();
}

bool MemberWriter::Append(ByteView bytes) {
    full_ = End() + bytes.size() > limit_;
    if (full_ || (buffer_.size() + bytes.size() > kBufferSize && !Flush())) return false;
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    return true;
}

bool MemberWriter::Flush() {
    const std::size_t count = archive_.WriteAt(written_, buffer_);
    written_ += count;
    const bool all = count == buffer_.size();
    buffer_.clear();
    return all;
}

}  // namespace Vorn
