// Reads the contents of new members for packing: small ones whole, large ones in pieces.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "archive/Crc32.h"
#include "archive/Stream.h"
#include "archive/Tree.h"
#include "library/NewMembers.h"

namespace va {

// Bytes that are not set before something is read into them.
template <typename T>
struct Uninitialised : std::allocator<T> {
    // NOLINTBEGIN(readability-identifier-naming): the names that allocators have
    template <typename Other>
    struct rebind {
        using other = Uninitialised<Other>;
    };
    void construct(T* /*place*/) noexcept {}
    // NOLINTEND(readability-identifier-naming)
};
using Bytes = std::vector<std::byte, Uninitialised<std::byte>>;

// Buffers for the next units of work: those of earlier ones, whose pages the process has already.
// Fresh pages would cost a fifth of the time of plain members. Any thread.
class Buffers {
public:
    [[nodiscard]] Bytes Take();
    void Return(Bytes bytes);

private:
    std::mutex lock_;
    std::vector<Bytes> free_;
};

// Appends the bytes to `to`.
void Append(Bytes& to, std::span<const std::byte> bytes);

// Throws archive::Error: the member is not what it was when the work was planned.
[[noreturn]] void ThrowChanged(const NewMember& member);

// Returns whether content that begins like this must be stored as a stream: readers that look at
// the content alone would take plain content of that beginning for one.
[[nodiscard]] inline bool MustBeStream(std::span<const std::byte> start) {
    return archive::IsStreamMark(start);
}

// Reads contents of members of several trees, one after another. One thread at a time.
class ContentReaders {
public:
    // Returns the reader of the member's tree, at the member's beginning. Throws archive::Error.
    archive::TreeReader& Begin(const NewMember& member);

private:
    std::map<const archive::Tree*, std::unique_ptr<archive::TreeReader>> readers_;
};

// The content of a large member, cut into pieces of kPiece bytes. Any thread may read any piece,
// each once: it blocks until the pieces before have been read, because check sum and reader know
// one order only.
class LargeContent {
public:
    static constexpr std::uint64_t kPiece = 1 << 20;  // whole blocks of a stream
    static_assert(kPiece % archive::kBlockSize == 0);

    LargeContent(const NewMember& member, Buffers& buffers)
        : member_(member), buffers_(buffers), left_(member.size) {}

    struct Piece {
        Bytes content;
        bool mustBeStream;  // of the member
        std::uint32_t crc;  // of the content up to the end of this piece
    };
    // Throws archive::Error, also for all pieces after one that failed.
    [[nodiscard]] Piece Read(std::size_t piece);

private:
    const NewMember& member_;
    Buffers& buffers_;
    std::unique_ptr<archive::TreeReader> reader_;
    std::uint64_t left_;
    archive::Crc32 sum_;
    bool mustBeStream_ = false;
    std::size_t next_ = 0;  // the piece to be read next
    bool failed_ = false;
    std::mutex lock_;
    std::condition_variable isNext_;
};

}  // namespace va
