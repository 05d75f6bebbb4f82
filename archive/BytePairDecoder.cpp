// Expanding byte by byte is slow. So the decoder expands every code of at most 16 bytes once for a
// sub-block and then copies its text whole; longer codes are split on a stack until their parts are
// that short.
#include "archive/BytePair.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace archive {

namespace {

class Expander {
public:
    Expander(std::span<std::byte> output, std::span<const std::byte> input)
        : out_(output), in_(input) {
        for (std::size_t c = 0; c < 256; ++c) SetLiteral(c);
    }

    std::optional<std::size_t> Run() {
        while (read_ < in_.size()) {
            if (!ReadTable()) return std::nullopt;
            SpellCodes();
            if (!ReadPacked()) return std::nullopt;
        }
        return written_;
    }

private:
    static constexpr std::size_t kSpelled = 16;

    // A code takes one byte off the stack and puts two back, so codes that do not contain
    // themselves, 255 at most, never need more than this.
    static constexpr std::size_t kStackBytes = 256;

    // Twice the longest text: two texts are joined by two copies of full width, without a loop.
    using Text = std::array<std::byte, 2 * kSpelled>;

    void SetLiteral(std::size_t c) {
        texts_[c][0] = static_cast<std::byte>(c);
        lengths_[c] = 1;
    }

    [[nodiscard]] std::size_t Rest() const { return in_.size() - read_; }
    std::uint8_t Take() { return std::to_integer<std::uint8_t>(in_[read_++]); }

    bool ReadTable();
    bool ReadEntries(std::size_t first, std::size_t count);
    void SpellCodes();
    bool ReadPacked();
    bool Put(std::uint8_t symbol);
    bool TakeApart(std::uint8_t code);

    std::span<std::byte> out_;
    std::span<const std::byte> in_;
    std::size_t read_ = 0;
    std::size_t written_ = 0;
    std::array<std::uint8_t, 256> codes_;  // the codes of this sub-block, in rising order
    std::size_t codeCount_ = 0;
    std::array<std::uint8_t, 256> left_;  // valid for codes
    std::array<std::uint8_t, 256> right_;
    std::array<std::uint8_t, 256> lengths_;  // of the texts; 0 for a code without one
    std::array<Text, 256> texts_;
};

// Reads one entry for each byte value: itself for a literal, two others for a code. The codes of
// the sub-block before become literals first; all other values are literals still.
bool Expander::ReadTable() {
    for (std::size_t i = 0; i < codeCount_; ++i) SetLiteral(codes_[i]);
    codeCount_ = 0;
    std::size_t c = 0;
    while (c < 256) {
        if (Rest() == 0) return false;
        const std::size_t count = Take();
        if (count >= 128) {
            c += count - 127;
            continue;
        }
        if (c + count + 1 > 256 || !ReadEntries(c, count + 1)) return false;
        c += count + 1;
    }
    return c == 256;
}

bool Expander::ReadEntries(std::size_t first, std::size_t count) {
    for (std::size_t c = first; c < first + count; ++c) {
        if (Rest() == 0) return false;
        const std::uint8_t left = Take();
        if (left == c) continue;
        if (Rest() == 0) return false;
        left_[c] = left;
        right_[c] = Take();
        lengths_[c] = 0;
        codes_[codeCount_++] = static_cast<std::uint8_t>(c);
    }
    return true;
}

// The encoder hands out codes downwards, so the parts of a code lie above it and are ready first.
// A code of any other table may be left to TakeApart.
void Expander::SpellCodes() {
    for (std::size_t i = codeCount_; i-- > 0;) {
        const std::size_t code = codes_[i];
        const std::size_t left = lengths_[left_[code]];
        const std::size_t right = lengths_[right_[code]];
        if (left == 0 || right == 0 || left + right > kSpelled) continue;
        std::memcpy(texts_[code].data(), texts_[left_[code]].data(), kSpelled);
        std::memcpy(texts_[code].data() + left, texts_[right_[code]].data(), kSpelled);
        lengths_[code] = static_cast<std::uint8_t>(left + right);
    }
}

bool Expander::ReadPacked() {
    if (Rest() < 2) return false;
    const std::size_t high = Take();
    const std::size_t size = high << 8 | Take();
    if (Rest() < size) return false;
    const std::span<const std::byte> packed = in_.subspan(read_, size);
    read_ += size;
    return std::ranges::all_of(packed, [this](std::byte symbol) {
        const auto c = std::to_integer<std::uint8_t>(symbol);
        return lengths_[c] != 0 ? Put(c) : TakeApart(c);
    });
}

// Writes a text. Away from the end its length need not be known to copy it.
inline bool Expander::Put(std::uint8_t symbol) {
    const std::size_t length = lengths_[symbol];
    const std::size_t room = out_.size() - written_;
    if (room >= kSpelled) {
        std::memcpy(out_.data() + written_, texts_[symbol].data(), kSpelled);
    } else if (room >= length) {
        std::memcpy(out_.data() + written_, texts_[symbol].data(), length);
    } else {
        return false;
    }
    written_ += length;
    return true;
}

bool Expander::TakeApart(std::uint8_t code) {
    std::array<std::uint8_t, kStackBytes> stack;
    stack[0] = code;
    for (std::size_t depth = 1; depth > 0;) {
        const std::uint8_t symbol = stack[--depth];
        if (lengths_[symbol] != 0) {
            if (!Put(symbol)) return false;
            continue;
        }
        if (depth + 2 > kStackBytes) return false;  // a code that contains itself
        stack[depth++] = right_[symbol];
        stack[depth++] = left_[symbol];
    }
    return true;
}

}  // namespace

std::optional<std::size_t> ExpandBlock(std::span<std::byte> output,
                                       std::span<const std::byte> input) {
    return Expander(output, input).Run();
}

}  // namespace archive
