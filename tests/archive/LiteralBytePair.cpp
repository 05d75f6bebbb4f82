#include "tests/archive/LiteralBytePair.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

namespace Vorn::Literal {

namespace {

using Byte = std::uint8_t;

struct Corrupt {};

struct Slot {
    Byte first, second, count;
};

struct Encoder {
    std::array<Byte, 2049> buffer{};  // one spare: a walk may copy the byte after the last one
    std::size_t size = 0;
    std::array<Byte, 256> left{}, right{};
    std::array<Slot, 4096> table{};
    std::vector<Byte> out;
    std::size_t limit = 0;

    Byte& Count(std::size_t a, std::size_t b) {
        std::size_t i = (a ^ (b << 5)) & 4095;
        while ((table[i].first != a || table[i].second != b) && table[i].count != 0) {
            i = (i + 1) & 4095;
        }
        table[i].first = static_cast<Byte>(a);
        table[i].second = static_cast<Byte>(b);
        return table[i].count;
    }

    void Raise(std::size_t a, std::size_t b) {
        if (Byte& count = Count(a, b); count < 255) ++count;
    }

    void Lower(std::size_t a, std::size_t b) {
        if (Byte& count = Count(a, b); count > 1) --count;
    }

    std::size_t Fill(std::span<const std::byte> input) {
        table.fill({});
        std::iota(left.begin(), left.end(), Byte{0});
        right.fill(0);
        size = 0;
        int distinct = 0;
        while (distinct < 210 && size < 2048 && size < input.size()) {
            const Byte c = std::to_integer<Byte>(input[size]);
            if (size > 0) Raise(buffer[size - 1], c);
            buffer[size++] = c;
            if (std::exchange(right[c], 1) == 0) ++distinct;
        }
        return size;
    }

    void Replace(Byte l, Byte r, Byte code) {
        const std::size_t oldSize = size;
        std::size_t from = 0;
        std::size_t to = 0;
        for (; from + 1 < oldSize; ++from) {
            if (buffer[from] != l || buffer[from + 1] != r) {
                buffer[to++] = buffer[from];
                continue;
            }
            if (from > 0) {
                Lower(buffer[to - 1], l);
                Raise(buffer[to - 1], code);
            }
            if (from + 2 < oldSize) {
                Lower(r, buffer[from + 2]);
                Raise(code, buffer[from + 2]);
            }
            buffer[to++] = code;
            ++from;
            --size;
        }
        buffer[to] = buffer[from];
        left[code] = l;
        right[code] = r;
        Count(l, r) = 1;
    }

    void ReplacePairs() {
        for (int code = 254; code >= 0; --code) {
            const auto k = static_cast<Byte>(code);
            if (left[k] != k || right[k] != 0) continue;
            Slot best{0, 0, 2};
            for (const Slot& slot : table) {
                if (slot.count > best.count) best = slot;
            }
            if (best.count < 3) return;
            Replace(best.first, best.second, k);
        }
    }

    [[nodiscard]] bool IsCode(std::size_t c) const { return left[c] != c; }

    bool Write() {
        for (std::size_t c = 0; c < 256;) {
            if (!IsCode(c)) {
                if (out.size() + 1 >= limit) return false;
                const std::size_t first = c++;
                while (c < 256 && c - first < 127 && !IsCode(c)) ++c;
                out.push_back(static_cast<Byte>(127 + c - first));
                continue;
            }
            std::size_t n = 0;
            while ((n < 127 && c + n + 1 < 256 && IsCode(c + n + 1)) ||
                   (n < 125 && c + n + 2 < 255 && IsCode(c + n + 2))) {
                ++n;
            }
            out.push_back(static_cast<Byte>(n));
            if (out.size() + n + size + 2 >= limit) return false;
            for (const std::size_t end = c + n + 1; c < end; ++c) {
                out.push_back(left[c]);
                if (IsCode(c)) out.push_back(right[c]);
            }
        }
        if (out.size() + size + 2 >= limit) return false;
        out.insert(out.end(), {static_cast<Byte>(size >> 8), static_cast<Byte>(size & 255)});
        out.insert(out.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(size));
        return true;
    }
};

struct Decoder {
    std::span<const std::byte> in;
    std::span<std::byte> out;
    std::size_t read = 0;
    std::size_t written = 0;
    std::array<Byte, 256> left{}, right{};

    Byte Next() {
        if (read == in.size()) throw Corrupt();
        return std::to_integer<Byte>(in[read++]);
    }

    void ReadTable() {
        std::iota(left.begin(), left.end(), Byte{0});
        std::size_t c = 0;
        while (c < 256) {
            const Byte n = Next();
            if (n >= 128) {
                c += n - 127U;
                continue;
            }
            for (const std::size_t end = c + n + 1U; c < end; ++c) {
                const Byte l = Next();
                if (c > 255) throw Corrupt();
                left[c] = l;
                if (l != c) right[c] = Next();
            }
        }
        if (c != 256) throw Corrupt();
    }

    void Expand(Byte code) {
        std::vector<Byte> stack{code};
        while (!stack.empty()) {
            const Byte c = stack.back();
            stack.pop_back();
            if (left[c] == c) {
                if (written == out.size()) throw Corrupt();
                out[written++] = std::byte{c};
                continue;
            }
            if (stack.size() + 2 > 256) throw Corrupt();
            stack.insert(stack.end(), {right[c], left[c]});
        }
    }

    void ReadSubBlock() {
        ReadTable();
        int rest = Next() * 256;
        for (rest += Next(); rest > 0; --rest) Expand(Next());
    }
};

}  // namespace

std::size_t CompressBlock(std::span<std::byte> output, std::span<const std::byte> input) {
    Encoder encoder;
    encoder.limit = input.size();
    for (std::size_t done = 0; done < input.size();) {
        done += encoder.Fill(input.subspan(done));
        encoder.ReplacePairs();
        if (!encoder.Write()) {
            std::ranges::copy(input, output.begin());
            return input.size();
        }
    }
    std::ranges::copy(std::as_bytes(std::span(encoder.out)), output.begin());
    return encoder.out.size();
}

std::optional<std::size_t> ExpandBlock(std::span<std::byte> output,
                                       std::span<const std::byte> input) {
    Decoder decoder{.in = input, .out = output};
    try {
        while (decoder.read < input.size()) decoder.ReadSubBlock();
    } catch (const Corrupt&) {
        return std::nullopt;
    }
    return decoder.written;
}

}  // namespace Vorn::Literal
