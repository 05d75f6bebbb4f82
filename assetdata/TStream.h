// The buffered stream through which asset data is read and written.
//
// Reads go through a buffer of 4,096 bytes that keeps its last 16 bytes at a refill, so that a
// reader may step back after looking ahead. Writes are not buffered; they go to the logical
// position, which is the store's position minus the buffered, unread bytes.
//
// Positions and sizes are in bytes, up to 4 GiB - 1. A returned count below the requested one means
// that the store ended, is full, or failed. For one thread at a time.
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
    static constexpr std::uint32_t kStepBack = 16;

    TStream() = default;
    TStream(const TStream&) = delete;
    TStream& operator=(const TStream&) = delete;

    virtual ~TStream() = default;
    // Makes the store empty and writable. Returns false if that fails.
    virtual bool Truncate() = 0;
    [[nodiscard]] virtual std::uint32_t Tell() const = 0;
    [[nodiscard]] virtual bool IsOpen() const = 0;
    // Returns the store's size; keeps the logical position and the buffer.
    [[nodiscard]] virtual std::uint32_t Length();
    // Discards read-ahead, then writes to the store. Returns the bytes written.
    virtual std::uint32_t Write(const void* bytes, std::uint32_t count) = 0;
    // Reads from the store, bypassing the buffer. Returns the bytes read.
    virtual std::uint32_t ReadRaw(void* bytes, std::uint32_t count) = 0;
    // Moves to an offset from the start, from the logical position, or back from the end, and
    // empties the buffer. Returns false and moves nothing if the store has no such position.
    virtual bool Seek(std::int64_t offset, SeekFrom origin) = 0;
    // Returns whether nothing is buffered and the store is at its end.
    [[nodiscard]] virtual bool IsEOF() = 0;

    // Returns the bytes read. A remainder of 4,080 bytes or more bypasses the buffer.
    std::uint32_t Read(void* bytes, std::uint32_t count);

    // Returns the next byte, 0 at the end.
    std::uint8_t ReadByte() {
        if (count_ == 0 && !Refill()) return 0;
        --count_;
        return std::to_integer<std::uint8_t>(buffer_[offset_++]);
    }

    // Returns the buffered bytes, after a refill if there are none; empty at the end. Skip consumes
    // bytes of it.
    [[nodiscard]] std::string_view PeekBuffered() {
        if (count_ == 0) (void)Refill();
        return {reinterpret_cast<const char*>(buffer_.data()) + offset_, count_};
    }
    void Skip(std::uint32_t count) {
        offset_ += count;
        count_ -= count;
    }

    // Moves one byte back; does nothing at the start.
    void StepBack();

    // Moves to an absolute position, inside the buffer if it still holds that position.
    bool ReturnTo(std::uint32_t position);

    // Moves the store to the logical position and empties the buffer.
    void DiscardReadAhead();

protected:
    // Returns the number of buffered, unread bytes.
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
