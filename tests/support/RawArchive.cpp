#include "tests/support/RawArchive.h"

#include <sstream>

namespace Vorn::Testing {

std::uint32_t Get32(std::string_view bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

void Put32(std::string& bytes, std::size_t at, std::uint32_t value) {
    bytes.replace(at, 4, U32(value));
}

std::string U32(std::size_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> 8 * i);
    return bytes;
}

std::string ExampleOf(const std::string& page) {
    const std::string text = TempFolder().Read(VORN_SOURCE_DIR "/docs/formats/" + page);
    std::string bytes;
    for (std::size_t at = 0; (at = text.find("```hex", at)) != std::string::npos; ++at) {
        std::istringstream hex(text.substr(at + 6));  // ends at the fence
        for (unsigned byte = 0; hex >> std::hex >> byte;) bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::string RawEntry(const RawMember& member) {
    std::string entry = member.name;
    entry.resize(260);
    return entry + U32(member.size) + U32(member.data.size()) + U32(member.crc) +
           std::string(12, '\0') + U32(member.data.starts_with("CFIL") ? 0x80 : 0);
}

std::string RawChunk(const RawMember& member) {
    return member.chunkId + U32(288 + member.data.size()) + RawEntry(member) + member.data;
}

std::string RawArchive(const std::vector<RawMember>& members, bool withIndex) {
    std::string chunks;
    std::string records;
    for (const RawMember& member : members) {
        const std::size_t dataOffset = kFirstMember + chunks.size() + 296;
        records += U32(dataOffset) + U32(member.data.size()) + RawEntry(member);
        chunks += RawChunk(member);
    }
    const std::string header = "ARCHINFO" + U32(32) + U32(0x41524330) + U32(0x102);
    const std::string zeros(16, '\0');
    if (!withIndex) return header + U32(0) + U32(0) + zeros + chunks;
    return header + U32(members.size()) + U32(kFirstMember + chunks.size()) + zeros + chunks +
           "IDX " + U32(records.size()) + records;
}

}  // namespace Vorn::Testing
