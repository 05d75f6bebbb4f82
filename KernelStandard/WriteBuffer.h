// Gathers small writes to an open file into blocks of 16 KiB; writes larger ones directly.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "KernelStandard/OpenFile.h"
#include "archive/Stream.h"

namespace Vorn {

class WriteBuffer {
public:
    // Borrows the file.
    explicit WriteBuffer(OpenFile& file) : file_(file) {}
    WriteBuffer(const WriteBuffer&) = delete;
    WriteBuffer& operator=(const WriteBuffer&) = delete;

    [[nodiscard]] bool IsEmpty() const { return held_ == 0; }
    // Returns the position after the last byte written.
    [[nodiscard]] std::uint32_t Position() const { return start_ + held_; }
    // Sets the position of the next write. The buffer must be empty.
    void MoveTo(std::uint32_t position) { start_ = position; }

    // Returns the bytes accepted: fewer than given after a failed write. The file's size grows
    // with the bytes accepted.
    [[nodiscard]] std::size_t Write(std::span<const std::byte> from);
    // Writes out the bytes held. After a failure the position is that of the first byte lost.
    void Flush();

private:
    using Block = std::array<std::byte, archive::kBlockSize>;

    // Each accepts some bytes from the front and returns how many; 0 after a failed write.
    [[nodiscard]] std::size_t WriteBuffered(std::span<const std::byte> from);
    [[nodiscard]] std::size_t WriteDirect(std::span<const std::byte> from);

    OpenFile& file_;
    std::unique_ptr<Block> block_;  // allocated at the first use
    std::uint32_t start_ = 0;       // position of the first byte in block_
    std::uint32_t held_ = 0;
};

}  // namespace Vorn
