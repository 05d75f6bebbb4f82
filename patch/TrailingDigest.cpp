#include "patch/TrailingDigest.h"

#include <algorithm>

#include "archive/Error.h"

namespace patch {
namespace {

// Large enough that calls do not count, small enough to stay in the processor's cache.
constexpr std::size_t kPiece = 1 << 18;

}  // namespace

TrailingDigest::TrailingDigest(const platform::FileHandle& file,
                               const archive::ArchiveHeader& header)
    : file_(file), preamble_(archive::EncodePreamble(header)), piece_(kPiece) {
    // The header is written last, but digested first: what it will be is known by now.
    digest_.Update(preamble_);
    thread_ = std::thread([this] { Run(); });
}

TrailingDigest::~TrailingDigest() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard hold(lock_);
        stopped_ = true;
        end_ = 0;  // the digest is not wanted any more: what is unread stays so
    }
    changed_.notify_one();
    thread_.join();
}

void TrailingDigest::Follow(std::uint64_t end) {
    {
        const std::lock_guard hold(lock_);
        end_ = end;
    }
    changed_.notify_one();
}

void TrailingDigest::Stop() {
    {
        const std::lock_guard hold(lock_);
        stopped_ = true;
    }
    changed_.notify_one();
    thread_.join();
    // The thread is gone, so that its failure can be read without the lock.
    if (failure_) std::rethrow_exception(failure_);
}

std::optional<Sha256Digest> TrailingDigest::Finish(const platform::FileHandle& file,
                                                   std::uint64_t size) {
    // The digest has the header that was foretold. If another was written, it is of no file.
    std::array<std::byte, archive::kArchivePreambleSize> found{};
    if (file.ReadAt(0, found) != std::int64_t{found.size()} || found != preamble_) {
        return std::nullopt;
    }
    // The index follows the members that the thread has read.
    Read(file, size);
    return digest_.Finish();
}

void TrailingDigest::Run() try {
    std::unique_lock hold(lock_);
    for (;;) {
        changed_.wait(hold, [this] { return stopped_ || read_ < end_; });
        if (read_ >= end_) return;  // stopped, and all that was followed is read
        const std::uint64_t end = end_;
        // The writer must not wait for this thread's reads.
        hold.unlock();
        Read(file_, end);
        hold.lock();
    }
} catch (...) {
    failure_ = std::current_exception();
}

void TrailingDigest::Read(const platform::FileHandle& file, std::uint64_t end) {
    while (read_ < end) {
        const auto piece =
            std::span(piece_).first(std::min<std::uint64_t>(piece_.size(), end - read_));
        if (file.ReadAt(read_, piece) != static_cast<std::int64_t>(piece.size())) {
            throw archive::Error(archive::ErrorCode::CannotRead, "it cannot be read back", read_);
        }
        digest_.Update(piece);
        read_ += piece.size();
    }
}

}  // namespace patch
