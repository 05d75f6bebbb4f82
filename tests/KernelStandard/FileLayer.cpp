#include "tests/KernelStandard/FileLayer.h"

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

}  // namespace Vorn::Testing
