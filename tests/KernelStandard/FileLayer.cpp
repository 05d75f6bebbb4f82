#include "tests/KernelStandard/FileLayer.h"

#include <sstream>

#include "KernelStandard/FileFind.h"

namespace Vorn::Testing {

void FileLayer::TearDown() {
    while (!mounted_.empty()) Unmount(std::string(mounted_.back()).c_str());
}

void FileLayer::Mount(const char* name, const std::string& path, bool writable) {
    Subst(Intern(name), path.c_str(), writable);
    if (std::ranges::find(mounted_, name) == mounted_.end()) mounted_.emplace_back(name);
}

void FileLayer::Unmount(const char* name) {
    std::erase(mounted_, name);
    Subst(Intern(name), nullptr);
}

void ArchiveLayer::MountBytes(std::string_view bytes, bool writable) {
    folder.Write("a.va", bytes);
    Mount("arc", "a.va", writable);
}

std::string ArchiveLayer::CloseAndRead() {
    Unmount("arc");
    return folder.Read("a.va");
}

std::string ArchiveLayer::Reopen() {
    std::string bytes = CloseAndRead();
    Mount("arc", "a.va");
    return bytes;
}

bool Store(const std::string& path, std::string_view content, FileMode writeKind) {
    File file;
    if (file.Open(path.c_str(), kCreateOrTruncate | writeKind) != RES_OK) return false;
    const auto size = static_cast<std::uint32_t>(content.size());
    const bool written = file.Write(content.data(), size) == size;
    return file.Close() && written;
}

std::optional<std::string> Contents(const std::string& path, FileMode readKind) {
    File file;
    if (file.Open(path.c_str(), readKind) != RES_OK) return std::nullopt;
    std::string content;
    std::string piece(20000, '\0');
    while (const std::uint32_t got = file.Read(piece.data(), 20000)) content.append(piece, 0, got);
    return content;
}

std::optional<std::uint32_t> TimeOf(const char* path) {
    std::uint32_t time = 0;
    return File::GetModifiedTime(path, time) ? std::optional(time) : std::nullopt;
}

void ExpectContents(const PathsAndContents& rows) {
    for (const auto& [path, content] : rows) EXPECT_EQ(Contents(path), content) << path;
}

std::vector<std::string> NamesOf(const std::string& pattern) {
    std::vector<std::string> names;
    File::Find find;
    for (bool more = find.Open(pattern.c_str()); more; more = find.Next()) {
        names.emplace_back(find.Entry().Name());
    }
    return names;
}

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
    return entry + U32(member.size) + U32(member.data.size()) + std::string(16, '\0') +
           U32(member.data.starts_with("CFIL") ? 0x80 : 0);
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
