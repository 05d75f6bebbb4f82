// Little-endian integers in byte records. Offsets outside the record do not compile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Vorn {

template <std::size_t Offset, std::size_t Size>
constexpr std::uint16_t LoadU16(std::span<const std::byte, Size> record) noexcept {
    const auto b = record.template subspan<Offset, 2>();
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(b[0]) |
                                      std::to_integer<unsigned>(b[1]) << 8);
}

template <std::size_t Offset, std::size_t Size>
constexpr std::uint32_t LoadU32(std::span<const std::byte, Size> record) noexcept {
    const auto b = record.template subspan<Offset, 4>();
    return std::to_integer<std::uint32_t>(b[0]) | std::to_integer<std::uint32_t>(b[1]) << 8 |
           std::to_integer<std::uint32_t>(b[2]) << 16 | std::to_integer<std::uint32_t>(b[3]) << 24;
}

template <std::size_t Offset, std::size_t Size>
constexpr void StoreU16(std::span<std::byte, Size> record, std::uint16_t value) noexcept {
    const auto b = record.template subspan<Offset, 2>();
    b[0] = static_cast<std::byte>(value);
    b[1] = static_cast<std::byte>(value >> 8);
}

template <std::size_t Offset, std::size_t Size>
constexpr void StoreU32(std::span<std::byte, Size> record, std::uint32_t value) noexcept {
    const auto b = record.template subspan<Offset, 4>();
    b[0] = static_cast<std::byte>(value);
    b[1] = static_cast<std::byte>(value >> 8);
    b[2] = static_cast<std::byte>(value >> 16);
    b[3] = static_cast<std::byte>(value >> 24);
}

}  // namespace Vorn
