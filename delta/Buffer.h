#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "delta/Bytes.h"

namespace delta {

// Uninitialised bytes: pages of a large buffer that are never written take no memory. It grows
// without keeping its content, and never shrinks.
class Buffer {
public:
    // Returns the first `size` bytes; their content is undefined. Invalidates earlier results if
    // the buffer has to grow.
    [[nodiscard]] std::span<std::uint8_t> Take(std::uint64_t size) {
        if (size > capacity_) {
            bytes_.reset();  // first, so that the old and the new bytes are never both held
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
