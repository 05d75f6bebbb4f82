// The MD5 message digest (RFC 1321), by which a patch distinguishes contents.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace patch {

// Collects bytes until finalize, and holds the digest from then on; it cannot be reset. A call in
// the wrong state changes nothing and writes a fixed line to standard error: update and finalize
// after finalize, hex_digest before it. A file given after finalize is read and closed all the
// same, with a line for each piece of 1024 bytes.
class MD5 {
public:
    MD5() = default;

    // Digests the rest of `file`, which is open for binary reading, and closes it.
    explicit MD5(std::FILE* file);

    void update(const void* bytes, std::size_t length);

    // Adds the rest of `file` and closes it. A read error counts as its end; see ReadFailed.
    void update(std::FILE* file);

    [[nodiscard]] bool ReadFailed() const { return readFailed_; }

    void finalize();

    // Returns 32 lower-case hexadecimal digits and a zero; an empty text before finalize.
    [[nodiscard]] std::unique_ptr<char[]> hex_digest() const;

private:
    void Transform(const std::byte* block);
    void AddToCount(std::uint64_t bits);

    std::array<std::uint32_t, 4> state_{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    std::array<std::uint32_t, 2> count_{};  // bits so far, low word first
    std::array<std::byte, 64> buffer_{};    // input that does not fill a block yet
    std::array<std::byte, 16> digest_{};
    bool finalized_ = false;
    bool readFailed_ = false;
};

// Returns the digest of a content as the lists hold it: 32 lower-case hexadecimal digits.
[[nodiscard]] std::string DigestOf(std::span<const std::byte> content);

}  // namespace patch
