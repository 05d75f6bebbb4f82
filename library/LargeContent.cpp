#include "library/LargeContent.h"

#include <algorithm>
#include <cstring>

#include "archive/Error.h"

namespace va {

Bytes Buffers::Take() {
    const std::lock_guard hold(lock_);
    if (free_.empty()) return {};
    Bytes bytes = std::move(free_.back());
    free_.pop_back();
    return bytes;
}

void Buffers::Return(Bytes bytes) {
    bytes.clear();
    const std::lock_guard hold(lock_);
    free_.push_back(std::move(bytes));
}

void Append(Bytes& to, std::span<const std::byte> bytes) {
    if (bytes.empty()) return;
    const std::size_t size = to.size();
    to.resize(size + bytes.size());
    std::memcpy(to.data() + size, bytes.data(), bytes.size());
}

void ThrowChanged(const NewMember& member) {
    throw archive::Error(archive::ErrorCode::CannotRead, "the file changed while it was read", 0,
                         member.name);
}

archive::TreeReader& ContentReaders::Begin(const NewMember& member) {
    // Each reader keeps a window on its file, so that neighbours are read together.
    std::unique_ptr<archive::TreeReader>& reader = readers_[member.tree];
    if (!reader) reader = member.tree->NewReader();
    reader->Begin(member.number);
    return *reader;
}

LargeContent::Piece LargeContent::Read(std::size_t piece) {
    std::unique_lock hold(lock_);
    isNext_.wait(hold, [&] { return next_ == piece || failed_; });
    // Results are taken in order: the error of the piece that failed comes first and is reported.
    if (failed_) ThrowChanged(member_);
    try {
        if (piece == 0) {
            reader_ = member_.tree->NewReader();
            reader_->Begin(member_.number);
        }
        Piece read{buffers_.Take(), false, 0};
        read.content.resize(std::min(kPiece, left_));
        left_ -= read.content.size();
        reader_->Read(read.content, left_ == 0);
        // A reader holds a window and perhaps an open file; many large members may follow.
        if (left_ == 0) reader_.reset();
        if (piece == 0) mustBeStream_ = MustBeStream(read.content);
        sum_.Update(read.content);
        read.mustBeStream = mustBeStream_;
        read.crc = sum_.Value();
        ++next_;
        isNext_.notify_all();
        return read;
    } catch (...) {
        // Threads that wait for a later piece would otherwise block indefinitely.
        failed_ = true;
        isNext_.notify_all();
        throw;
    }
}

}  // namespace va
