#include "KernelStandard/WriteBuffer.h"

#include <algorithm>
#include <cstring>

namespace Vorn {

using archive::kBlockSize;

std::size_t WriteBuffer::Write(std::span<const std::byte> from) {
    std::size_t done = 0;
    while (done < from.size()) {
        const auto rest = from.subspan(done);
        const std::size_t step = rest.size() < kBlockSize ? WriteBuffered(rest) : WriteDirect(rest);
        done += step;
        if (step == 0 || file_.WriteFailed()) break;
    }
    return done;
}

std::size_t WriteBuffer::WriteBuffered(std::span<const std::byte> from) {
    if (!block_) block_ = std::make_unique_for_overwrite<Block>();
    const std::size_t count = std::min(kBlockSize - held_, from.size());
    std::memcpy(block_->data() + held_, from.data(), count);
    held_ += static_cast<std::uint32_t>(count);
    const std::uint32_t end = Position();
    if (end > file_.Size()) file_.SetSize(end);
    if (held_ < kBlockSize) return count;
    // A full block goes out at once, so that its failure is this write's and not a later one's.
    Flush();
    return Position() == end ? count : 0;
}

std::size_t WriteBuffer::WriteDirect(std::span<const std::byte> from) {
    Flush();  // first, to keep the order of the bytes
    if (file_.WriteFailed()) return 0;
    const std::uint32_t written = file_.WriteAt(start_, from);
    start_ += written;
    if (start_ > file_.Size()) file_.SetSize(start_);
    // Fixed: after a failed direct write, whatever reads this file finds its end at once. A failed
    // Flush shows only in the position and in WriteFailed.
    if (file_.WriteFailed()) file_.SetSize(0);
    return written;
}

void WriteBuffer::Flush() {
    if (IsEmpty()) return;
    // What could not be written is dropped: the file remembers that it is incomplete.
    start_ += file_.WriteAt(start_, std::span(*block_).first(held_));
    held_ = 0;
}

}  // namespace Vorn
