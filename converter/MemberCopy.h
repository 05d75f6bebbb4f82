// Reading members whole, and copying them between archives and the file system.
//
// A mount name says where a member is; the null handle means the file system. What cannot be read
// or written is named on standard error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "KernelStandard/File.h"
#include "kernel/InternedString.h"

// The content of one member.
class MemberContent {
public:
    // Reads all of an open file. False when there is no memory for it or it cannot be read whole.
    // The memory is not touched before content is there to fill it.
    [[nodiscard]] bool ReadAll(Vorn::File& file);

    [[nodiscard]] std::span<const std::byte> Bytes() const { return {bytes_.get(), size_}; }

private:
    std::unique_ptr<std::byte[]> bytes_;
    std::uint32_t size_ = 0;
};

// Writes a whole file or member. False when it is not complete and closed.
[[nodiscard]] bool WriteWhole(const Vorn::InternedString& mount, const char* name,
                              Vorn::FileMode mode, std::span<const std::byte> content);

// Copies an open file to a member: compressed when it is longer than 1,024 bytes, plain otherwise.
// An empty file counts as copied and makes no member. A short file that begins like a compressed
// stream is stored compressed too: stored plain it would read back as what the stream holds.
[[nodiscard]] bool CopyOpenFile(const Vorn::InternedString& mount, const char* name,
                                Vorn::File& source);

// The same, from a member. A file of the file system is taken byte for byte, also when it begins
// like a compressed stream.
[[nodiscard]] bool CopyMember(const Vorn::InternedString& sourceMount, const char* sourceName,
                              const Vorn::InternedString& mount, const char* name);
