#include "KernelStandard/CompressedStream.h"

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <string>

#include "KernelStandard/FileTypes.h"
#include "KernelStandard/TemporaryFile.h"
#include "archive/Stream.h"
#include "platform/Directories.h"
#include "platform/Files.h"

namespace Vorn {

namespace {

[[nodiscard]] bool WriteAll(platform::FileHandle& file, std::span<const std::byte> bytes) {
    return file.Write(bytes) == bytes.size();
}

// Writes the stream whose content is the `length` bytes of `plain`.
[[nodiscard]] bool WriteStream(platform::FileHandle& plain, std::uint32_t length,
                               platform::FileHandle& out) {
    if (!WriteAll(out, archive::EncodeStreamHeader(length))) return false;
    const auto piece = std::make_unique<std::array<std::byte, archive::kBlockSize>>();
    const auto block = std::make_unique<archive::BlockBuffer>();
    for (std::uint32_t left = length; left > 0;) {
        const std::size_t wanted = std::min<std::size_t>(left, archive::kBlockSize);
        const auto content = std::span(*piece).first(wanted);
        // The header promises `length`: a file that became shorter meanwhile is not compressed.
        if (plain.Read(content) != static_cast<std::int64_t>(wanted)) return false;
        if (!WriteAll(out, archive::EncodeBlock(*block, content))) return false;
        left -= static_cast<std::uint32_t>(wanted);
    }
    return true;
}

[[nodiscard]] bool WriteStreamOf(const char* path, platform::FileHandle& out) {
    platform::FileHandle plain;
    if (!plain.Open(path, platform::Access::Read, platform::Creation::OpenExisting,
                    platform::Share::DenyWrite)) {
        return false;
    }
    const std::int64_t length = plain.Length();
    return length >= 0 && static_cast<std::uint64_t>(length) <= kMaxFileSize &&
           WriteStream(plain, static_cast<std::uint32_t>(length), out);
}

[[nodiscard]] bool CopyToNewFile(const char* from, const char* to) {
    using namespace platform;
    FileHandle in;
    FileHandle out;
    if (!in.Open(from, Access::Read, Creation::OpenExisting, Share::DenyWrite) ||
        !out.Open(to, Access::Write, Creation::CreateNew, Share::DenyAll)) {
        return false;
    }
    const auto piece = std::make_unique<std::array<std::byte, archive::kBlockSize>>();
    for (;;) {
        const std::int64_t got = in.Read(*piece);
        if (got <= 0) return out.Close() && got == 0;
        if (!WriteAll(out, std::span(*piece).first(static_cast<std::size_t>(got)))) return false;
    }
}

// A file is renamed within one file system only: the current directory may lie on another.
[[nodiscard]] bool RenameOrCopy(const char* from, const char* to) {
    return platform::Rename(from, to) || (CopyToNewFile(from, to) && platform::RemoveFile(from));
}

}  // namespace

bool CompressFileInPlace(const char* path) {
    platform::FileHandle out;
    // In the current directory, not beside the file, and hidden: both are fixed.
    const std::string temporary = CreateTemporaryFile("", out);
    if (temporary.empty()) return false;
    (void)platform::SetHidden(temporary.c_str(), true);
    // Close may report that the disk is full, so the plain file is removed only after it.
    const bool written = WriteStreamOf(path, out);
    if (!out.Close() || !written || !platform::RemoveFile(path)) {
        (void)platform::RemoveFile(temporary.c_str());
        return false;
    }
    if (!RenameOrCopy(temporary.c_str(), path)) return false;
    (void)platform::SetHidden(path, false);
    return true;
}

}  // namespace Vorn
