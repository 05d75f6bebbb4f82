#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "delta/Bytes.h"

namespace vdiff {

// Bytes that start out unset, so that the part of a large buffer that is never written takes no
// memory. `size` may be lowered.
struct Buffer {
    explicit Buffer(std::uint64_t count)
        : bytes(std::make_unique_for_overwrite<std::uint8_t[]>(count)), size(count) {}

    [[nodiscard]] ByteView View() const { return {bytes.get(), size}; }

    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size;
};

}  // namespace vdiff
