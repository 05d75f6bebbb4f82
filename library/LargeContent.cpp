#include "library/LargeContent.h"

#include <algorithm>

#include "archive/Error.h"

namespace va {

void Append(Bytes& to, std::span<const std::byte> bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
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

void ContentReaders::ReadWhole(const NewMember& member, Bytes& into) {
    archive::TreeReader& reader = Begin(member);
    into.clear();
    into.reserve(member.size);
    for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) Append(into, piece);
    // The room for its chunk was planned by this size.
    if (into.size() != member.size) ThrowChanged(member);
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
        Piece read{ReadNext(), false, 0};
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

Bytes LargeContent::ReadNext() {
    Bytes content;
    const std::uint64_t wanted = std::min(kPiece, left_);
    content.reserve(wanted);
    while (content.size() < wanted) {
        if (rest_.empty()) rest_ = reader_->Next();
        if (rest_.empty()) ThrowChanged(member_);
        const auto taken =
            rest_.first(std::min<std::size_t>(rest_.size(), wanted - content.size()));
        Append(content, taken);
        rest_ = rest_.subspan(taken.size());
    }
    left_ -= wanted;
    // A reader compares check sums when it is asked for more at the end.
    if (left_ == 0 && (!rest_.empty() || !reader_->Next().empty())) ThrowChanged(member_);
    return content;
}

}  // namespace va
