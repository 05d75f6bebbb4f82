// The buffered stream through which asset data is read and written.
//
// Reads go through a buffer of 4,096 bytes that keeps the last 16 bytes when it is refilled, so
// that a reader may step back after it has looked ahead. Writes are not buffered; they land at the
// logical position, which is the store's position less the bytes that are buffered and unread.
//
// Positions and sizes are in bytes and end at 4 GiB - 1. Counts tell what was moved: fewer than
// asked means that the store ran out, is full, or failed. A stream is used by one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "KernelStandard/File.h"

namespace Vorn {

class TStream {
public:
    static constexpr std::uint32_t kBufferSize = 4096;
    static constexpr std::uint32_t kLookBehind = 16;

    TStream() = default;
    TStream(const TStream&) = delete;
    TStream& operator=(const TStream&) = delete;

    virtual ~TStream() = default;
    // Makes the store empty and writable. False when it cannot be.
    virtual bool Truncate() = 0;
    [[nodiscard]] virtual std::uint32_t Tell() const = 0;
    [[nodiscard]] virtual bool IsOpen() const = 0;
    // Leaves the logical position and what is buffered as they are.
    [[nodiscard]] virtual std::uint32_t Length();
    // Gives up what is read ahead, then writes to the store. Bytes written.
    virtual std::uint32_t Write(const void* bytes, std::uint32_t count) = 0;
    // Reads from the store, past the buffer. Bytes read.
    virtual std::uint32_t ReadRaw(void* bytes, std::uint32_t count) = 0;
    // Moves to an offset from the start, from the logical position, or back from the end. True
    // with an empty buffer; false, and nothing moved, when the store has no such position.
    virtual bool Seek(std::int64_t offset, SeekFrom origin) = 0;
    // Nothing is buffered and the store is at its end.
    [[nodiscard]] virtual bool IsEOF() = 0;

    // Bytes delivered. A rest of 4,080 bytes or more does not pass through the buffer.
    std::uint32_t Read(void* bytes, std::uint32_t count);

    // The next byte, 0 at the end.
    std::uint8_t ReadByte() {
        if (count_ == 0 && !Refill()) return 0;
        --count_;
        return std::to_integer<std::uint8_t>(buffer_[offset_++]);
    }

    // What is buffered, after a refill when that is nothing; empty at the end. Skip takes bytes of
    // it, and reading goes on behind them.
    [[nodiscard]] std::string_view PeekBuffered() {
        if (count_ == 0) (void)Refill();
        return {reinterpret_cast<const char*>(buffer_.data()) + offset_, count_};
    }
    void Skip(std::uint32_t count) {
        offset_ += count;
        count_ -= count;
    }

    // Moves one byte back; at the start nothing happens.
    void StepBack();

    // Moves to an absolute position: inside the buffer when it still holds it.
    bool ReturnTo(std::uint32_t position);

    // Moves the store to the logical position and empties the buffer.
    void DiscardReadAhead();

protected:
    // Bytes that are buffered and not yet read.
    [[nodiscard]] std::uint32_t Unread() const { return count_; }
    void EmptyBuffer();

private:
    bool Refill();
    std::uint32_t TakeBuffered(std::byte* bytes, std::uint32_t count);

    std::uint32_t count_ = 0;   // unread bytes in the buffer
    std::uint32_t offset_ = 0;  // of the next unread byte
    std::array<std::byte, kBufferSize> buffer_;
};

}  // namespace Vorn
