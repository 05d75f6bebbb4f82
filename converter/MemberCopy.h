// Reading and writing members whole. What cannot be read or written is named on standard error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "KernelStandard/File.h"
#include "kernel/InternedString.h"

namespace converter {

// The content of one member.
class MemberContent {
public:
    // Reads all of an open file. False if there is no memory for it or it cannot be read whole. The
    // memory is not touched before content is there to fill it: a size may be a false claim.
    [[nodiscard]] bool ReadAll(Vorn::File& file);

    [[nodiscard]] std::span<const std::byte> Bytes() const { return {bytes_.get(), size_}; }

private:
    std::unique_ptr<std::byte[]> bytes_;
    std::uint32_t size_ = 0;
};

// Writes a whole member. False if it is not complete and closed.
[[nodiscard]] bool WriteWhole(const Vorn::InternedString& mount, const char* name,
                              Vorn::FileMode mode, std::span<const std::byte> content);

// Stores content as a member: compressed if it is longer than 1,024 bytes, plain otherwise. Without
// content it succeeds and makes no member. Short content that begins like a compressed stream is
// compressed too: stored plain, it would read back as what the stream holds.
[[nodiscard]] bool StoreMember(const Vorn::InternedString& mount, const char* name,
                               std::span<const std::byte> content);

// Reads the whole file with exactly that name, byte for byte, also if it begins like a compressed
// stream.
[[nodiscard]] bool ReadFile(const char* path, MemberContent& content);

}  // namespace converter
