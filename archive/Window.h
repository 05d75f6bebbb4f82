// A window on a file: reads that mostly move forwards, gathered into large ones.
//
// Borrows the file, or whatever else gives bytes at offsets. Nothing is read twice while offsets
// rise. One thread at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <span>
#include <utility>

#include "archive/Error.h"
#include "platform/Files.h"

namespace archive {

class Window {
public:
    // Reads bytes at an offset and returns their number: fewer than asked at the end, -1 if that
    // fails.
    using ReadAt = std::function<std::int64_t(std::uint64_t offset, std::span<std::byte> into)>;

    Window(ReadAt readAt, std::size_t capacity)
        : readAt_(std::move(readAt)),
          capacity_(capacity),
          bytes_(std::make_unique_for_overwrite<std::byte[]>(capacity)) {}
    Window(const platform::FileHandle& file, std::size_t capacity)
        : Window([&file](std::uint64_t offset,
                         std::span<std::byte> into) { return file.ReadAt(offset, into); },
                 capacity) {}

    // Returns the `count` bytes (at most the capacity) at `offset`; fewer at the end of the file.
    // Reads ahead when offsets rise in small steps, else no more than `worth` bytes. Valid until
    // the next call. Throws Error when the system cannot read.
    [[nodiscard]] std::span<const std::byte> At(std::uint64_t offset, std::size_t count,
                                                std::uint64_t worth = 0) {
        if (offset < start_ || offset + count > start_ + held_) Move(offset, count, worth);
        return {bytes_.get() + (offset - start_), std::min<std::size_t>(count, Held(offset))};
    }

    // Drops what was read, because the file is another one now.
    void Forget() { start_ = held_ = 0; }

    // Returns at least one byte and at most `most` from `offset`; none at the end of the file.
    [[nodiscard]] std::span<const std::byte> Some(std::uint64_t offset, std::uint64_t most) {
        if (offset < start_ || offset >= start_ + held_) Move(offset, 1, most);
        return {bytes_.get() + (offset - start_),
                static_cast<std::size_t>(std::min<std::uint64_t>(most, Held(offset)))};
    }

private:
    [[nodiscard]] std::size_t Held(std::uint64_t offset) const {
        return static_cast<std::size_t>(start_ + held_ - offset);
    }

    void Move(std::uint64_t offset, std::size_t count, std::uint64_t worth) {
        constexpr std::uint64_t kSmallStep = 4096;
        const std::uint64_t end = start_ + held_;
        const bool onwards = held_ > 0 && offset >= start_ && offset <= end + kSmallStep;
        const std::size_t kept = onwards && offset < end ? Held(offset) : 0;
        if (kept > 0) std::memmove(bytes_.get(), bytes_.get() + (offset - start_), kept);
        const std::size_t wanted =
            onwards ? capacity_
                    : std::max(count,
                               static_cast<std::size_t>(std::min<std::uint64_t>(worth, capacity_)));
        start_ = offset;
        held_ = kept;
        const std::int64_t got =
            readAt_(offset + kept, std::span(bytes_.get() + kept, std::max(wanted, kept) - kept));
        if (got < 0) throw Error(ErrorCode::CannotRead, "the file cannot be read", offset);
        held_ += static_cast<std::size_t>(got);
    }

    ReadAt readAt_;
    std::size_t capacity_;
    std::unique_ptr<std::byte[]> bytes_;
    std::uint64_t start_ = 0;
    std::size_t held_ = 0;
};

}  // namespace archive
