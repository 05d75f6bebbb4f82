// Reading and seeking of the File object: raw bytes, plain content, blocks of a stream.
#include <algorithm>
#include <cstring>

#include "KernelStandard/File.h"
#include "kernel/Exceptions.h"

namespace Vorn {

namespace {

// Holds a backend's own lock for a scope; a plain file has no owner.
class OwnerLock {
public:
    explicit OwnerLock(FileSub* owner) : owner_(owner) {
        if (owner_ != nullptr) owner_->Lock();
    }
    ~OwnerLock() {
        if (owner_ != nullptr) owner_->Unlock();
    }
    OwnerLock(const OwnerLock&) = delete;
    OwnerLock& operator=(const OwnerLock&) = delete;

private:
    FileSub* owner_;
};

}  // namespace

std::uint32_t File::Read(void* destination, std::uint32_t count, std::uint32_t elementSize) {
    if (!IsOpen()) throw FileEx("KernelStandard/File", __LINE__, "Read() File is not open");
    if (ReadKind() == 0) {
        throw FileEx("KernelStandard/File", __LINE__, "Read() File not open for reading");
    }
    const std::uint64_t wanted = std::uint64_t{count} * elementSize;
    if (wanted == 0) return 0;

    Flush();
    const std::span into(static_cast<std::byte*>(destination), wanted);
    std::size_t done = 0;
    while (done < into.size()) {
        const std::uint32_t step = ReadStep(into.subspan(done));
        if (step == 0) break;
        position_ += step;
        done += step;
    }
    return static_cast<std::uint32_t>(done / elementSize);
}

std::uint32_t File::ReadStep(std::span<std::byte> into) {
    if (Unread() == 0 && into.size() >= archive::kBlockSize) {
        cursor_ = buffered_ = 0;
        return IsStream() ? FillBlock(into.first<archive::kBlockSize>()) : FillPlain(into);
    }
    if (Unread() == 0 && !Refill()) return 0;
    return TakeBuffered(into);
}

std::uint32_t File::TakeBuffered(std::span<std::byte> into) {
    const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(Unread(), into.size()));
    std::memcpy(into.data(), buffer_->data() + cursor_, count);
    cursor_ += count;
    return count;
}

bool File::Refill() {
    cursor_ = 0;
    buffered_ = IsStream() ? FillBlock(*buffer_) : FillPlain(*buffer_);
    return buffered_ > 0;
}

std::uint32_t File::FillPlain(std::span<std::byte> into) {
    const std::uint32_t size = Size();
    if (position_ >= size) return 0;
    const auto count =
        static_cast<std::uint32_t>(std::min<std::size_t>(into.size(), size - position_));
    const std::int64_t got = RawRead(into.first(count));
    if (got == count) return count;
    EndAtDamage();
    // What came before the block that is not whole.
    return got < 0 ? 0 : static_cast<std::uint32_t>(got - got % std::int64_t{archive::kBlockSize});
}

std::uint32_t File::FillBlock(std::span<std::byte, archive::kBlockSize> into) {
    if (position_ >= Size()) return 0;
    archive::BlockHeader header;
    const std::uint32_t content = ReadBlockHeader(header) ? ReadBlockContent(header, into) : 0;
    if (content == 0) EndAtDamage();
    nextBlock_ += content;
    return content;
}

bool File::ReadBlockHeader(archive::BlockHeader& header) {
    std::array<std::byte, archive::kBlockHeaderSize> bytes{};
    if (!RawReadAll(bytes)) return false;
    header = archive::DecodeBlockHeader(bytes);
    return header.length <= archive::kBlockSize;
}

// The content bytes of the block at nextBlock_, or 0 when it is damaged. Only a stored block and
// the last one may hold less than 16,384.
std::uint32_t File::ReadBlockContent(archive::BlockHeader header,
                                     std::span<std::byte, archive::kBlockSize> into) {
    const auto expected =
        static_cast<std::uint32_t>(std::min<std::size_t>(archive::kBlockSize, Size() - nextBlock_));
    if (header.stored) {
        return header.length <= expected && RawReadAll(into.first(header.length)) ? header.length
                                                                                  : 0;
    }
    if (packed_ == nullptr) packed_ = std::make_unique_for_overwrite<Buffer>();
    const auto packed = std::span(*packed_).first(header.length);
    if (!RawReadAll(packed)) return 0;
    const auto expanded = ExpandBlock(into, packed);
    return expanded && *expanded == expected ? expected : 0;
}

void File::EndAtDamage() {
    readFailed_ = true;
    size_ = 0;
    cursor_ = buffered_ = 0;
}

std::int64_t File::RawRead(std::span<std::byte> into) {
    if (rawPosition_ >= rawEnd_) return 0;
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), rawEnd_ - rawPosition_));
    const OwnerLock lock(owner_.get());
    const std::int64_t got = handle_->ReadAt(rawPosition_, into.first(count));
    if (got > 0) rawPosition_ += static_cast<std::uint64_t>(got);
    return got;
}

bool File::RawReadAll(std::span<std::byte> into) {
    return RawRead(into) == static_cast<std::int64_t>(into.size());
}

std::uint32_t File::Seek(std::int64_t offset, SeekFrom origin) {
    if (WriteKind() == kWriteCompressed) {
        throw FileEx("KernelStandard/File", __LINE__, "Seek() Can't seek writing compressed file");
    }
    Flush();
    constexpr std::int64_t kLimit = kFailedSeek;
    if (offset < -kLimit || offset > kLimit) return kFailedSeek;
    std::int64_t target = 0;
    switch (origin) {
        case SeekFrom::Start:
            target = offset;
            break;
        case SeekFrom::Current:
            target = position_ + offset;
            break;
        case SeekFrom::End:
            target = Size() - offset;
            break;
        default:
            return kFailedSeek;
    }
    if (target < 0 || target >= kLimit) return kFailedSeek;

    const auto position = static_cast<std::uint32_t>(target);
    if (IsStream() && position < Size()) {
        if (!SeekStream(position)) return kFailedSeek;
        position_ = position;
        return position;
    }
    position_ = position;
    EmptyBuffer();
    return position;
}

void File::EmptyBuffer() {
    if (IsStream()) return RewindStream();
    cursor_ = buffered_ = 0;
    rawPosition_ = std::uint64_t{headerLength_} + position_;
}

void File::RewindStream() {
    cursor_ = buffered_ = 0;
    nextBlock_ = 0;
    rawPosition_ = headerLength_;
}

bool File::SeekStream(std::uint32_t target) {
    const std::uint32_t blockStart = nextBlock_ - buffered_;
    if (target < blockStart || buffered_ == 0) {
        if (target < nextBlock_) RewindStream();
    } else if (target < nextBlock_) {
        cursor_ = target - blockStart;
        return true;
    }
    if (!SkipToBlockOf(target)) {
        EndAtDamage();
        return false;
    }
    // The fill takes the block at the position; the cursor then steps into it.
    const std::uint32_t start = nextBlock_;
    position_ = start;
    if (!Refill()) return false;
    cursor_ = target - start;
    return true;
}

bool File::SkipToBlockOf(std::uint32_t target) {
    for (;;) {
        const std::uint64_t headerOffset = rawPosition_;
        archive::BlockHeader header;
        if (!ReadBlockHeader(header)) return false;
        const std::uint64_t content = header.stored ? header.length : archive::kBlockSize;
        if (content == 0) return false;
        if (nextBlock_ + content > target) {
            rawPosition_ = headerOffset;
            return true;
        }
        rawPosition_ += header.length;
        nextBlock_ += static_cast<std::uint32_t>(content);
    }
}

}  // namespace Vorn
