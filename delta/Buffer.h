// A growable buffer of uninitialised bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "delta/Bytes.h"

namespace delta {

// Holds uninitialised bytes, so pages of a large buffer that are never written take no memory. It
// does not keep its content when it grows, and it never shrinks.
class Buffer {
public:
    // Returns the first `size` bytes; their content is undefined. Invalidates earlier results if
    // the buffer has to grow.
    [[nodiscard]] std::span<std::uint8_t> Take(std::uint64_t size) {
        if (size > capacity_) {
            bytes_.reset();  // free first: the old and the new buffer are never held together
            capacity_ = 0;
            bytes_ = std::make_unique_for_overwrite<std::uint8_t[]>(size);
            capacity_ = size;
        }
        return {bytes_.get(), static_cast<std::size_t>(size)};
    }

    [[nodiscard]] std::uint64_t Capacity() const noexcept { return capacity_; }

private:
    std::unique_ptr<std::uint8_t[]> bytes_;
    std::uint64_t capacity_ = 0;
};

}  // namespace delta
