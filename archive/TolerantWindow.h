// A window on a file of a failing disk: pages that the system cannot read appear as zeros.
//
// Borrows the file. Reads ahead while offsets rise in small steps. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/Files.h"

namespace archive {

class TolerantWindow {
public:
    static constexpr std::size_t kCapacity = 262144;

    explicit TolerantWindow(const platform::FileHandle& file)
        : file_(file), bytes_(std::make_unique_for_overwrite<std::byte[]>(kCapacity)) {}

    // Returns the `count` bytes (at most kCapacity) at `offset`; fewer at the end of the file.
    // Valid until the next call.
    [[nodiscard]] std::span<const std::byte> At(std::uint64_t offset, std::size_t count);
    // Returns all bytes that are held from `offset` on: at least `count`, fewer at the end of the
    // file.
    [[nodiscard]] std::span<const std::byte> Ahead(std::uint64_t offset, std::size_t count);

    // Returns the bytes that could not be read so far.
    [[nodiscard]] std::uint64_t Unreadable() const { return unreadable_; }

private:
    void Move(std::uint64_t offset, std::size_t wanted);
    [[nodiscard]] std::size_t ReadPages(std::uint64_t offset, std::span<std::byte> into);

    const platform::FileHandle& file_;
    std::unique_ptr<std::byte[]> bytes_;
    std::uint64_t start_ = 0;
    std::size_t held_ = 0;
    std::uint64_t unreadable_ = 0;
};

}  // namespace archive
