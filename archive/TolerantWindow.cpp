#include "archive/TolerantWindow.h"

#include <algorithm>
#include <cstring>

namespace archive {
namespace {

constexpr std::size_t kPage = 4096;  // no disk fails in smaller pieces

}  // namespace

std::span<const std::byte> TolerantWindow::At(std::uint64_t offset, std::size_t count) {
    const auto bytes = Ahead(offset, count);
    return bytes.first(std::min(count, bytes.size()));
}

std::span<const std::byte> TolerantWindow::Ahead(std::uint64_t offset, std::size_t count) {
    const std::uint64_t end = start_ + held_;
    if (offset < start_ || offset + count > end) {
        // After a jump no more than a page: of a large member only the entry is wanted.
        const bool onwards = offset >= start_ && offset <= end + kPage;
        Move(offset, onwards ? kCapacity : std::max(count, kPage));
    }
    return {bytes_.get() + (offset - start_), static_cast<std::size_t>(start_ + held_ - offset)};
}

void TolerantWindow::Move(std::uint64_t offset, std::size_t wanted) {
    const std::uint64_t end = start_ + held_;
    const std::size_t kept =
        offset >= start_ && offset < end ? static_cast<std::size_t>(end - offset) : 0;
    if (kept > 0) std::memmove(bytes_.get(), bytes_.get() + (offset - start_), kept);
    start_ = offset;
    held_ = kept;
    const std::span into(bytes_.get() + kept, std::max(wanted, kept) - kept);
    const std::int64_t got = file_.ReadAt(offset + kept, into);
    held_ += got >= 0 ? static_cast<std::size_t>(got) : ReadPages(offset + kept, into);
}

std::size_t TolerantWindow::ReadPages(std::uint64_t offset, std::span<std::byte> into) {
    std::size_t done = 0;
    while (done < into.size()) {
        const std::size_t toPage = kPage - static_cast<std::size_t>((offset + done) % kPage);
        const auto piece = into.subspan(done, std::min(toPage, into.size() - done));
        std::int64_t got = file_.ReadAt(offset + done, piece);
        if (got == 0) break;
        if (got < 0) {
            const std::int64_t length = file_.Length();
            const std::uint64_t at = offset + done;
            if (length < 0 || at >= static_cast<std::uint64_t>(length)) break;
            const auto left = static_cast<std::uint64_t>(length) - at;
            got = static_cast<std::int64_t>(std::min<std::uint64_t>(piece.size(), left));
            std::ranges::fill(piece, std::byte{0});
            unreadable_ += static_cast<std::uint64_t>(got);
        }
        done += static_cast<std::size_t>(got);
    }
    return done;
}

}  // namespace archive
