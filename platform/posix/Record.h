// Builds little-endian records for a file.
#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace platform::posix {

// Takes the fields of one record of exactly `Size` bytes, in order.
template <std::size_t Size>
class Record {
public:
    Record& U16(std::uint64_t value) noexcept { return Number<2>(value); }
    Record& U32(std::uint64_t value) noexcept { return Number<4>(value); }
    Record& U64(std::uint64_t value) noexcept { return Number<8>(value); }
    Record& Zeros(std::size_t count) noexcept {
        assert(length_ + count <= Size);
        length_ += count;
        return *this;
    }
    Record& Copy(std::span<const std::byte> bytes) noexcept {
        assert(length_ + bytes.size() <= Size);
        std::memcpy(bytes_.data() + length_, bytes.data(), bytes.size());
        length_ += bytes.size();
        return *this;
    }

    [[nodiscard]] std::span<const std::byte> Bytes() const noexcept {
        assert(length_ == Size);
        return bytes_;
    }

private:
    template <std::size_t Width>
    Record& Number(std::uint64_t value) noexcept {
        assert(length_ + Width <= Size);
        for (std::size_t i = 0; i < Width; ++i) {
            bytes_[length_++] = static_cast<std::byte>(value >> (8 * i));
        }
        return *this;
    }

    std::array<std::byte, Size> bytes_{};
    std::size_t length_ = 0;
};

}  // namespace platform::posix
