#include "patch/MD5.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace patch {

namespace {

constexpr std::size_t kBlockBytes = 64;
constexpr std::size_t kReadBytes = 1024;

// The integer part of 2^32 times |sin(n)|, for n from 1.
constexpr std::array<std::uint32_t, 64> kSines{
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

constexpr std::array<std::array<int, 4>, 4> kShifts{
    {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};

using Words = std::array<std::uint32_t, 16>;

std::uint32_t LoadWord(const std::byte* bytes) {
    std::uint32_t word = 0;
    for (int i = 3; i >= 0; --i) word = word << 8 | std::to_integer<std::uint32_t>(bytes[i]);
    return word;
}

template <std::size_t size>
void StoreWords(std::byte* bytes, const std::array<std::uint32_t, size>& words) {
    for (const std::uint32_t word : words) {
        for (int shift = 0; shift < 32; shift += 8) {
            *bytes++ = static_cast<std::byte>(word >> shift);
        }
    }
}

constexpr std::size_t InputWord(std::size_t step) {
    constexpr std::array<std::size_t, 4> kFactors{1, 5, 3, 7};
    constexpr std::array<std::size_t, 4> kOffsets{0, 1, 5, 0};
    return (step * kFactors[step / 16] + kOffsets[step / 16]) % 16;
}

// The four round functions; the first two are written so that they take one operation less.
template <std::size_t round>
std::uint32_t Mix(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    if constexpr (round == 0) return d ^ (b & (c ^ d));
    if constexpr (round == 1) return (b & d) + (c & ~d);
    if constexpr (round == 2) return b ^ c ^ d;
    if constexpr (round == 3) return c ^ (b | ~d);
}

template <std::size_t step>
void Step(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d, const Words& words) {
    constexpr std::size_t kRound = step / 16;
    a += words[InputWord(step)] + kSines[step] + Mix<kRound>(b, c, d);
    a = std::rotl(a, kShifts[kRound][step % 4]) + b;
}

template <std::size_t... groups>
void AllSteps(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c, std::uint32_t& d,
              const Words& words, std::index_sequence<groups...> /*four steps each*/) {
    ((Step<groups * 4>(a, b, c, d, words), Step<groups * 4 + 1>(d, a, b, c, words),
      Step<groups * 4 + 2>(c, d, a, b, words), Step<groups * 4 + 3>(b, c, d, a, words)),
     ...);
}

void Complain(const char* line) {
    std::fputs(line, stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
}

}  // namespace

MD5::MD5(std::FILE* file) {
    update(file);
    finalize();
}

void MD5::update(const void* bytes, std::size_t length) {
    if (finalized_) {
        Complain("MD5::update:  Can't update a finalized digest!");
        return;
    }
    const auto* input = static_cast<const std::byte*>(bytes);
    std::size_t index = count_[0] / 8 % kBlockBytes;
    AddToCount(std::uint64_t{length} * 8);
    if (length >= kBlockBytes - index) {
        const std::size_t missing = kBlockBytes - index;
        std::copy_n(input, missing, buffer_.begin() + static_cast<std::ptrdiff_t>(index));
        Transform(buffer_.data());
        input += missing;
        length -= missing;
        for (; length >= kBlockBytes; input += kBlockBytes, length -= kBlockBytes) Transform(input);
        index = 0;
    }
    std::copy_n(input, length, buffer_.begin() + static_cast<std::ptrdiff_t>(index));
}

void MD5::update(std::FILE* file) {
    std::array<std::byte, kReadBytes> piece;
    while (const std::size_t length = std::fread(piece.data(), 1, piece.size(), file)) {
        update(piece.data(), length);
    }
    readFailed_ = std::ferror(file) != 0;
    std::fclose(file);
}

void MD5::finalize() {
    if (finalized_) {
        Complain("MD5::finalize:  Already finalized this digest!");
        return;
    }
    std::array<std::byte, 8> bits;
    StoreWords(bits.data(), count_);
    constexpr std::array<std::byte, kBlockBytes> kPadding{std::byte{0x80}};
    const std::size_t index = count_[0] / 8 % kBlockBytes;
    update(kPadding.data(), index < 56 ? 56 - index : 120 - index);
    update(bits.data(), bits.size());

    StoreWords(digest_.data(), state_);
    buffer_.fill(std::byte{0});
    finalized_ = true;
}

std::unique_ptr<char[]> MD5::hex_digest() const {
    auto text = std::make_unique<char[]>(2 * digest_.size() + 1);
    if (!finalized_) {
        Complain("MD5::hex_digest:  Can't get digest if you haven't finalized the digest!");
        return text;
    }
    constexpr char kDigits[] = "0123456789abcdef";
    char* next = text.get();
    for (const std::byte byte : digest_) {
        *next++ = kDigits[std::to_integer<unsigned>(byte >> 4)];
        *next++ = kDigits[std::to_integer<unsigned>(byte & std::byte{15})];
    }
    return text;
}

void MD5::Transform(const std::byte* block) {
    Words words;
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = LoadWord(block + i * 4);
    std::array<std::uint32_t, 4> next = state_;
    AllSteps(next[0], next[1], next[2], next[3], words, std::make_index_sequence<16>{});
    for (std::size_t i = 0; i < state_.size(); ++i) state_[i] += next[i];
}

void MD5::AddToCount(std::uint64_t bits) {
    const std::uint64_t total = (std::uint64_t{count_[1]} << 32 | count_[0]) + bits;
    count_ = {static_cast<std::uint32_t>(total), static_cast<std::uint32_t>(total >> 32)};
}

std::string DigestOf(std::span<const std::byte> content) {
    MD5 digest;
    digest.update(content.data(), content.size());
    digest.finalize();
    return digest.hex_digest().get();
}

}  // namespace patch
