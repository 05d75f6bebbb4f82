#include "KernelStandard/BlockReader.h"

#include <algorithm>
#include <cstring>

#include "archive/BytePair.h"

namespace Vorn {

using archive::kBlockSize;

void BlockReader::Begin() {
    start_ = held_ = 0;
    failed_ = stream_ = false;
}

BlockReader::Form BlockReader::DetectStream() {
    const std::size_t headerSize = file_.StreamHeaderSize();
    // Most files are small and not compressed: probing with a full block doubles as the first read.
    // A member that is stored in another form is probably a stream, for which the header suffices.
    const std::size_t most = file_.IsStoredInOtherForm() ? headerSize : kBlockSize;
    if (!block_) block_ = std::make_unique_for_overwrite<Block>();
    const std::int64_t got = file_.ReadAt(0, std::span(*block_).first(most));
    if (got < 0) return Form::Unreadable;

    const auto probed = static_cast<std::size_t>(got);
    if (probed < headerSize || !archive::IsStreamMark(std::span(*block_).first(headerSize))) {
        held_ = static_cast<std::uint32_t>(probed);
        return probed < headerSize ? Form::TooShort : Form::Bytes;
    }
    if (headerSize == archive::kStreamHeaderSize) {
        const auto header =
            archive::DecodeStreamHeader(std::span(*block_).first<archive::kStreamHeaderSize>());
        // An older stream does not record its size; the archive's entry has given it.
        if (header.version >= archive::kStreamVersion) file_.SetSize(header.contentSize);
    }
    stream_ = true;
    firstBlock_ = static_cast<std::uint32_t>(headerSize);
    Rewind();
    return Form::Stream;
}

std::size_t BlockReader::Read(std::uint32_t position, std::span<std::byte> into) {
    std::size_t done = 0;
    while (done < into.size()) {
        const std::size_t step =
            ReadStep(position + static_cast<std::uint32_t>(done), into.subspan(done));
        if (step == 0) break;
        done += step;
    }
    return done;
}

std::size_t BlockReader::ReadStep(std::uint32_t position, std::span<std::byte> into) {
    if (Held(position).empty()) {
        if (into.size() >= kBlockSize) {
            // A held block must be the one before next_, because GoTo may return to it. This read
            // moves next_ and holds nothing.
            held_ = 0;
            if (!stream_) return FillBytes(position, into);
            return position < file_.Size() ? FillBlock(into.first<kBlockSize>()) : 0;
        }
        if (!Refill(position)) return 0;
    }
    const auto held = Held(position);
    const std::size_t count = std::min(held.size(), into.size());
    std::memcpy(into.data(), held.data(), count);
    return count;
}

bool BlockReader::Refill(std::uint32_t position) {
    if (position >= file_.Size()) return false;
    if (!block_) block_ = std::make_unique_for_overwrite<Block>();
    start_ = position;
    // The last block may fill only a part of block_; what an earlier one left after that does not
    // count.
    held_ = stream_ ? FillBlock(*block_) : FillBytes(position, *block_);
    return held_ > 0;
}

std::uint32_t BlockReader::FillBytes(std::uint32_t position, std::span<std::byte> into) {
    const std::uint32_t size = file_.Size();
    if (position >= size) return 0;
    const auto count =
        static_cast<std::uint32_t>(std::min<std::size_t>(into.size(), size - position));
    const std::int64_t got = file_.ReadAt(position, into.first(count));
    if (got == count) return count;
    // The file is shorter than it was, or than its archive's entry says.
    EndAtDamage();
    // Return only whole blocks, as for a stream.
    return got < 0 ? 0 : static_cast<std::uint32_t>(got - got % std::int64_t{kBlockSize});
}

std::uint32_t BlockReader::FillBlock(std::span<std::byte, kBlockSize> into) {
    const std::uint32_t content = DecodeBlock(into);
    if (content == 0) EndAtDamage();
    next_ += content;
    return content;
}

std::uint32_t BlockReader::DecodeBlock(std::span<std::byte, kBlockSize> into) {
    archive::BlockHeader header;
    if (!ReadHeader(header)) return 0;
    if (header.stored) return ReadStored(into.first(header.length)) ? header.length : 0;

    // Every compressed block but the last has kBlockSize bytes of content; the size tells how many
    // the last one has. A block that expands to any other number is damaged.
    if (!packed_) packed_ = std::make_unique_for_overwrite<Block>();
    const auto packed = std::span(*packed_).first(header.length);
    const auto expected =
        static_cast<std::uint32_t>(std::min<std::size_t>(kBlockSize, file_.Size() - next_));
    return ReadStored(packed) && archive::ExpandBlock(into, packed) == expected ? expected : 0;
}

bool BlockReader::ReadHeader(archive::BlockHeader& header) {
    std::array<std::byte, archive::kBlockHeaderSize> bytes{};
    if (!ReadStored(bytes)) return false;
    header = archive::DecodeBlockHeader(bytes);
    return archive::IsPossible(header, file_.Size() - next_);
}

bool BlockReader::ReadStored(std::span<std::byte> into) {
    if (file_.ReadAt(nextOffset_, into) != static_cast<std::int64_t>(into.size())) return false;
    nextOffset_ += into.size();
    return true;
}

bool BlockReader::GoTo(std::uint32_t position) {
    if (!Held(position).empty()) return true;
    // Blocks can be walked forwards only.
    if (position < next_) Rewind();
    if (!SkipToBlockOf(position)) {
        EndAtDamage();
        return false;
    }
    // The position lies inside this block: it must be decoded whole, and the next read continues
    // in it.
    return Refill(next_);
}

bool BlockReader::SkipToBlockOf(std::uint32_t position) {
    for (;;) {
        const std::uint64_t headerOffset = nextOffset_;
        archive::BlockHeader header;
        if (!ReadHeader(header)) return false;
        // Wrong only for the last block, which has the position in any case.
        const std::uint64_t content = header.stored ? header.length : kBlockSize;
        if (next_ + content > position) {
            nextOffset_ = headerOffset;
            return true;
        }
        nextOffset_ += header.length;
        next_ += static_cast<std::uint32_t>(content);
    }
}

void BlockReader::Rewind() {
    next_ = 0;
    nextOffset_ = firstBlock_;
}

// Size 0 makes every later read and seek end here, also for callers that never ask Failed.
void BlockReader::EndAtDamage() {
    failed_ = true;
    file_.SetSize(0);
    held_ = 0;
}

}  // namespace Vorn
