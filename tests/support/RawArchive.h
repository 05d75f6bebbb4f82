// Archives put together byte by byte, without the code that is tested.
#pragma once

#include "tests/support/Tests.h"

namespace Vorn::Testing {

[[nodiscard]] std::uint32_t Get32(std::string_view bytes, std::size_t at);
void Put32(std::string& bytes, std::size_t at, std::uint32_t value);
[[nodiscard]] std::string U32(std::size_t value);

// The bytes of the example that a page of docs/formats shows.
[[nodiscard]] std::string ExampleOf(const std::string& page);

// What goes into a hand-made archive; the numbers may lie.
struct RawMember {
    std::string name;
    std::string data;
    std::uint32_t size = static_cast<std::uint32_t>(data.size());
    std::string chunkId = "FIL ";
    std::uint32_t crc = 0;
};
inline constexpr std::size_t kFirstMember = 44;  // offset of the first chunk after the header
inline constexpr std::size_t kVersionAt = 16;
inline constexpr std::size_t kCountAt = 20;
inline constexpr std::size_t kIndexOffsetAt = 24;

[[nodiscard]] std::string RawEntry(const RawMember& member);
[[nodiscard]] std::string RawChunk(const RawMember& member);
[[nodiscard]] std::string RawArchive(const std::vector<RawMember>& members, bool withIndex = true);

}  // namespace Vorn::Testing
