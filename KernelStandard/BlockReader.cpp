#include "KernelStandard/BlockReader.h"

#include <algorithm>
#include <cstring>

#include "archive/Error.h"

namespace Vorn {

using archive::kBlockSize;

namespace {

// Two blocks that do not compress, or some more that do: one system call for several blocks.
constexpr std::size_t kWindow = 2 * sizeof(archive::BlockBuffer);

}  // namespace

void BlockReader::Begin() {
    Forget();
    blocks_.reset();
    failed_ = false;
}

BlockReader::Block& BlockReader::Room() {
    if (!room_) room_ = std::make_unique_for_overwrite<Block>();
    return *room_;
}

BlockReader::Form BlockReader::DetectStream() {
    const std::size_t headerSize = file_.StreamHeaderSize();
    // Most files are small and not compressed: probing with a full block doubles as the first read.
    // A member that is stored in another form is probably a stream, for which the header suffices.
    const std::size_t most = file_.IsStoredInOtherForm() ? headerSize : kBlockSize;
    const auto room = std::span(Room()).first(most);
    const std::int64_t got = file_.ReadAt(0, room);
    if (got < 0) return Form::Unreadable;

    const std::span<const std::byte> probed = room.first(static_cast<std::size_t>(got));
    if (probed.size() < headerSize || !archive::IsStreamMark(probed)) {
        start_ = 0;
        held_ = probed;
        return probed.size() < headerSize ? Form::TooShort : Form::Bytes;
    }
    if (headerSize == archive::kStreamHeaderSize) {
        const auto header = archive::DecodeStreamHeader(probed.first<archive::kStreamHeaderSize>());
        // An older stream does not record its size; the archive's entry has given it.
        if (header.version >= archive::kStreamVersion) file_.SetSize(header.contentSize);
    }
    if (window_) {
        window_->Forget();
    } else {
        window_.emplace([this](std::uint64_t offset,
                               std::span<std::byte> into) { return file_.ReadAt(offset, into); },
                        kWindow);
    }
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
        if (position >= file_.Size()) return 0;
        if (into.size() >= kBlockSize) {
            // A held block must be the one before next_, because GoTo may return to it. This read
            // moves next_ and holds nothing.
            Forget();
            if (!IsStream()) return NextBytes(position, into).size();
            const auto content = NextBlock(into.first<kBlockSize>());
            if (content.data() != into.data()) std::ranges::copy(content, into.begin());
            return content.size();
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
    start_ = position;
    held_ = IsStream() ? NextBlock(Room()) : NextBytes(position, Room());
    return !held_.empty();
}

std::span<const std::byte> BlockReader::NextBytes(std::uint32_t position,
                                                  std::span<std::byte> into) {
    const auto wanted = into.first(std::min<std::size_t>(into.size(), file_.Size() - position));
    const std::int64_t got = file_.ReadAt(position, wanted);
    if (got == static_cast<std::int64_t>(wanted.size())) return wanted;
    // The file is shorter than it was, or than its archive's entry says.
    EndAtDamage();
    // Return only whole blocks, as for a stream.
    return wanted.first(got < 0 ? 0 : static_cast<std::size_t>(got) / kBlockSize * kBlockSize);
}

std::span<const std::byte> BlockReader::NextBlock(std::span<std::byte, kBlockSize> into) {
    std::span<const std::byte> content;
    try {
        content = blocks_->Next(*window_, file_.Size() - next_, into);
    } catch (const archive::Error&) {
        // The system cannot read the file: for the caller it ends here, as at damage.
    }
    if (content.empty()) EndAtDamage();
    next_ += static_cast<std::uint32_t>(content.size());
    return content;
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
    try {
        const std::uint32_t size = file_.Size();
        while (const auto skipped = blocks_->Skip(*window_, size - next_, position - next_)) {
            next_ += skipped;
        }
        return !blocks_->Problem();
    } catch (const archive::Error&) {
        return false;
    }
}

void BlockReader::Rewind() {
    blocks_.emplace(firstBlock_);
    next_ = 0;
}

// Size 0 makes every later read and seek end here, also for callers that never ask Failed.
void BlockReader::EndAtDamage() {
    failed_ = true;
    file_.SetSize(0);
    Forget();
}

}  // namespace Vorn
