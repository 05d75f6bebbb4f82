#include "tests/KernelStandard/FileLayer.h"

#include <algorithm>
#include <random>

#include "KernelStandard/FileFind.h"
#include "KernelStandard/FileSubstList.h"

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

std::vector<std::string> NamesOf(const std::string& pattern) {
    std::vector<std::string> names;
    File::Find find;
    for (bool more = find.Open(pattern.c_str()); more; more = find.Next()) {
        names.emplace_back(find.Entry().Name());
    }
    return names;
}

std::string Noise(std::size_t size, unsigned seed) {
    std::minstd_rand random(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() >> 12);
    return bytes;
}

std::string Prose(std::size_t size) {
    std::string text;
    for (unsigned line = 0; text.size() < size; ++line) {
        text += "the quick brown fox jumps over dog " + std::to_string(line) + "\n";
    }
    return text.substr(0, size);
}

std::uint32_t Get32(std::string_view bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

void Put32(std::string& bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>(value >> 8 * i);
}

std::string U32(std::uint32_t value) {
    std::string bytes(4, '\0');
    Put32(bytes, 0, value);
    return bytes;
}

std::string RawEntry(const RawMember& member) {
    std::string entry = member.name;
    entry.resize(260);
    const bool compressed = member.data.starts_with("CFIL");
    return entry + U32(member.size) + U32(static_cast<std::uint32_t>(member.data.size())) +
           std::string(16, '\0') + U32(compressed ? 0x80 : 0);
}

std::string RawChunk(const RawMember& member) {
    const auto length = static_cast<std::uint32_t>(288 + member.data.size());
    return member.chunkId + U32(length) + RawEntry(member) + member.data;
}

std::string RawArchive(const std::vector<RawMember>& members, bool withIndex) {
    std::string chunks;
    std::string records;
    for (const RawMember& member : members) {
        const auto dataOffset = static_cast<std::uint32_t>(kFirstMember + chunks.size() + 296);
        records += U32(dataOffset) + U32(static_cast<std::uint32_t>(member.data.size())) +
                   RawEntry(member);
        chunks += RawChunk(member);
    }
    const auto indexOffset = static_cast<std::uint32_t>(kFirstMember + chunks.size());
    const auto count = static_cast<std::uint32_t>(members.size());
    const std::string index = "IDX " + U32(static_cast<std::uint32_t>(records.size())) + records;
    return "ARCHINFO" + U32(32) + U32(0x41524330) + U32(0x102) + U32(withIndex ? count : 0) +
           U32(withIndex ? indexOffset : 0) + std::string(16, '\0') + chunks +
           (withIndex ? index : "");
}

}  // namespace Vorn::Testing
