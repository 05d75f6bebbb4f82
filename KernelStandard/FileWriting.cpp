// Buffered writing of the File object.
//
// While bytes are unwritten the buffer holds them and nothing else, from its start.
#include <algorithm>
#include <cstring>

#include "KernelStandard/File.h"
#include "archive/ArchiveFormat.h"
#include "kernel/Exceptions.h"

namespace Vorn {

std::uint32_t File::Write(const void* source, std::uint32_t count, std::uint32_t elementSize) {
    if (!IsOpen()) throw FileEx("KernelStandard/File", __LINE__, "Write() File not open");
    if (WriteKind() == 0) {
        throw FileEx("KernelStandard/File", __LINE__, "Write() File not open for writing");
    }
    const std::uint64_t wanted = std::uint64_t{count} * elementSize;
    if (wanted == 0) return 0;
    if (unwritten_ == 0) EmptyBuffer();
    // Behind the end of a new member's file may stand what was an earlier member's.
    if (newMember_ && position_ > Size() && !handle_->Truncate(Size())) writeFailed_ = true;

    const std::uint64_t room = archive::kMaxArchiveSize - position_;
    if (wanted > room) writeFailed_ = true;
    const std::span from(static_cast<const std::byte*>(source), std::min(wanted, room));
    std::size_t done = 0;
    while (done < from.size()) {
        const auto rest = from.subspan(done);
        const std::uint32_t step =
            rest.size() < archive::kBlockSize ? WriteBuffered(rest) : WriteDirect(rest);
        if (step == 0) break;
        done += step;
        if (writeFailed_) break;
    }
    return static_cast<std::uint32_t>(done / elementSize);
}

std::uint32_t File::WriteBuffered(std::span<const std::byte> from) {
    const auto count =
        static_cast<std::uint32_t>(std::min(archive::kBlockSize - cursor_, from.size()));
    std::memcpy(buffer_->data() + cursor_, from.data(), count);
    cursor_ += count;
    buffered_ = cursor_;
    unwritten_ += count;
    AdvanceWritten(count);
    if (buffered_ < archive::kBlockSize) return count;
    const std::uint32_t end = position_;
    Flush();
    return position_ == end ? count : 0;
}

std::uint32_t File::WriteDirect(std::span<const std::byte> from) {
    Flush();
    if (writeFailed_) return 0;
    const std::uint64_t offset = std::uint64_t{headerLength_} + position_;
    const auto written = static_cast<std::uint32_t>(handle_->WriteAt(offset, from));
    AdvanceWritten(written);
    EmptyBuffer();
    if (written < from.size()) {
        writeFailed_ = true;
        size_ = 0;
    }
    return written;
}

void File::AdvanceWritten(std::uint32_t count) {
    position_ += count;
    if (position_ > Size()) size_ = position_;
}

void File::Flush() {
    if (unwritten_ == 0) return;
    const std::uint64_t offset = std::uint64_t{headerLength_} + position_ - cursor_;
    const auto written =
        static_cast<std::uint32_t>(handle_->WriteAt(offset, std::span(*buffer_).first(buffered_)));
    if (written < buffered_) {
        writeFailed_ = true;
        position_ -= buffered_ - written;
    }
    unwritten_ = 0;
    EmptyBuffer();
}

void File::Commit() {
    if (!IsOpen() || unwritten_ == 0) return;
    Flush();
    handle_->Commit();
}

}  // namespace Vorn
