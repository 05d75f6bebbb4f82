#include "assetdata/TStream.h"

#include <algorithm>

namespace Vorn {

std::uint32_t TStream::Length() {
    const std::uint32_t unread = count_;
    const std::uint32_t offset = offset_;
    const std::uint32_t position = Tell();
    if (!Seek(0, SeekFrom::End)) return 0;
    const std::uint32_t length = Tell();
    // Set first: the buffer is valid once the store's position is at its end.
    if (Seek(std::int64_t{position} + unread, SeekFrom::Start)) {
        count_ = unread;
        offset_ = offset;
    }
    return length;
}

std::uint32_t TStream::Read(void* bytes, std::uint32_t count) {
    auto* to = static_cast<std::byte*>(bytes);
    std::uint32_t done = TakeBuffered(to, count);
    const std::uint32_t rest = count - done;
    if (rest == 0) return done;
    if (rest >= kBufferSize - kStepBack) {
        EmptyBuffer();
        return done + ReadRaw(to + done, rest);
    }
    if (Refill()) done += TakeBuffered(to + done, rest);
    return done;
}

void TStream::StepBack() {
    if (offset_ > 0) {
        --offset_;
        ++count_;
    } else {
        (void)Seek(-1, SeekFrom::Current);
    }
}

bool TStream::ReturnTo(std::uint32_t position) {
    const std::int64_t move = std::int64_t{position} - Tell();
    if (move < -std::int64_t{offset_} || move > std::int64_t{count_}) {
        return Seek(position, SeekFrom::Start);
    }
    offset_ = static_cast<std::uint32_t>(offset_ + move);
    count_ = static_cast<std::uint32_t>(count_ - move);
    return true;
}

void TStream::DiscardReadAhead() {
    if (count_ > 0) (void)Seek(0, SeekFrom::Current);
    EmptyBuffer();  // also drops the bytes kept for stepping back, which the store moves away from
}

void TStream::EmptyBuffer() {
    count_ = 0;
    offset_ = 0;
}

bool TStream::Refill() {
    std::uint32_t kept = 0;
    if (offset_ == kBufferSize) {
        std::copy(buffer_.end() - kStepBack, buffer_.end(), buffer_.begin());
        kept = kStepBack;
    }
    offset_ = kept;
    count_ = 0;
    count_ = ReadRaw(buffer_.data() + kept, kBufferSize - kept);
    return count_ > 0;
}

std::uint32_t TStream::TakeBuffered(std::byte* bytes, std::uint32_t count) {
    const std::uint32_t taken = std::min(count, count_);
    std::copy_n(buffer_.data() + offset_, taken, bytes);
    offset_ += taken;
    count_ -= taken;
    return taken;
}

}  // namespace Vorn
