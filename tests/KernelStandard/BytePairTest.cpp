#include "KernelStandard/BytePair.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "tests/KernelStandard/LiteralBytePair.h"

namespace Vorn {
namespace {

using Bytes = std::vector<std::byte>;
using Random = std::mt19937;

constexpr std::size_t kBlock = 16384;
constexpr std::byte kCanary{0xC5};

Bytes Make(std::initializer_list<int> values) {
    Bytes bytes;
    for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
    return bytes;
}

Bytes Join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes Repeat(const Bytes& part, std::size_t times) {
    Bytes all;
    while (times-- > 0) all.insert(all.end(), part.begin(), part.end());
    return all;
}

// The bytes from `first` up to and not with `end`, but for 'a' and 'b'.
Bytes Distinct(int first, int end) {
    Bytes bytes;
    for (int c = first; c < end; ++c) {
        if (c != 'a' && c != 'b') bytes.push_back(static_cast<std::byte>(c));
    }
    return bytes;
}

Bytes RandomBytes(Random& random, std::size_t size, unsigned values) {
    Bytes bytes(size);
    for (std::byte& byte : bytes) byte = static_cast<std::byte>(random() % values);
    return bytes;
}

Bytes Compress(const Bytes& content) {
    Bytes packed(content.size() + 8, kCanary);
    packed.resize(CompressBlock(std::span(packed).first(content.size()), content) + 8);
    if (packed.size() >= content.size() + 8) {
        EXPECT_EQ(Bytes(packed.end() - 8, packed.end()), Bytes(8, kCanary));
    }
    packed.resize(packed.size() - 8);
    return packed;
}

// Nothing for a corrupt block.
std::optional<Bytes> Expand(const Bytes& packed, std::size_t room = kBlock) {
    Bytes content(room + 64, kCanary);
    const auto size = ExpandBlock(std::span(content).first(room), packed);
    EXPECT_EQ(Bytes(content.end() - 64, content.end()), Bytes(64, kCanary));
    if (!size) return std::nullopt;
    content.resize(*size);
    return content;
}

std::optional<Bytes> ExpandLiterally(const Bytes& packed, std::size_t room = kBlock) {
    Bytes content(room);
    const auto size = Literal::ExpandBlock(content, packed);
    if (!size) return std::nullopt;
    content.resize(*size);
    return content;
}

TEST(BytePair, PacksToTheFixedBytes) {
    const Bytes ab = Make({'a', 'b'});
    const Bytes zeros(2048);
    // Two equal sub-blocks; behind a full set of distinct values the same zeros make one.
    const Bytes packedZeros = Compress(Join({zeros, zeros}));
    const Bytes oneSubBlock(packedZeros.begin(), packedZeros.begin() + static_cast<std::ptrdiff_t>(
                                                                           packedZeros.size() / 2));
    const Bytes others = Distinct(0, 210);
    const struct {
        const char* name;
        Bytes content, packed;
    } rows[] = {
        {"32 times ab", Repeat(ab, 32),
         Make({0xfe, 0xfa, 0x04, 0xfb, 0xfb, 0xfc, 0xfc, 0xfd, 0xfd, 0xfe, 0xfe, 0x61, 0x62, 0x80,
               0x00, 0x02, 0xfa, 0xfa})},
        {"210 distinct values end a sub-block without codes", Join({others, ab, zeros}),
         Join({Make({254, 254, 129, 0, 210}), others, ab, oneSubBlock})},
        {"one code", Join({Repeat(ab, 3), others, zeros}),
         Join({Make({254, 254, 0, 'a', 'b', 128, 0, 211, 254, 254, 254}), others, oneSubBlock})},
        {"nothing", {}, {}},
        {"too short to gain", Repeat(ab, 3), Repeat(ab, 3)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Compress(row.content), row.packed);
        if (row.packed == row.content) continue;
        EXPECT_EQ(Expand(row.packed), row.content);
    }
}

TEST(BytePair, PacksEqualBytesAndStoresRandomOnes) {
    const Bytes same(kBlock, std::byte{7});
    EXPECT_LT(Compress(same).size(), kBlock / 50);
    EXPECT_EQ(Expand(Compress(same)), same);

    Random random(1);
    const Bytes noise = RandomBytes(random, kBlock, 256);
    EXPECT_EQ(Compress(noise), noise);
}

struct Kind {
    const char* name;
    Bytes (*make)(Random&, std::size_t);
};

Bytes Words(Random& random, std::size_t size) {
    std::vector<Bytes> words(40);
    for (Bytes& word : words) word = RandomBytes(random, 1 + random() % 9, 200);
    Bytes text;
    while (text.size() < size) text = Join({text, words[random() % words.size()]});
    return text;
}

Bytes Runs(Random& random, std::size_t size) {
    Bytes bytes;
    while (bytes.size() < size)
        bytes.resize(bytes.size() + random() % 700, std::byte(random() % 4));
    return bytes;
}

// A period that overlaps itself, with faults here and there.
Bytes Periods(Random& random, std::size_t size) {
    Bytes bytes = Repeat(RandomBytes(random, 2 + random() % 12, 2), size);
    bytes.resize(size);
    for (std::size_t i = 0; i < size / 100; ++i) bytes[random() % size] = std::byte(random() % 256);
    return bytes;
}

constexpr Kind kKinds[] = {
    {"two values", [](Random& r, std::size_t n) { return RandomBytes(r, n, 2); }},
    {"20 values", [](Random& r, std::size_t n) { return RandomBytes(r, n, 20); }},
    {"230 values", [](Random& r, std::size_t n) { return RandomBytes(r, n, 230); }},
    {"words", Words},
    {"runs", Runs},
    {"periods", Periods},
};

// The bytes packed, which are those of the literal form.
std::size_t ExpectLiteralForm(const Bytes& content) {
    Bytes literal(content.size());
    literal.resize(Literal::CompressBlock(literal, content));
    const Bytes packed = Compress(content);
    EXPECT_EQ(packed, literal);
    if (packed.size() < content.size()) {
        EXPECT_EQ(Expand(packed), content);
    }
    return packed.size();
}

TEST(BytePair, EqualsTheLiteralForm) {
    int packedBlocks = 0;
    for (const Kind& kind : kKinds) {
        for (unsigned seed = 0; seed < 24; ++seed) {
            SCOPED_TRACE(std::string(kind.name) + ", seed " + std::to_string(seed));
            Random random(seed);
            // Short ones stand at the edge of what is worth packing.
            const Bytes content = kind.make(random, 1 + random() % (seed % 3 == 0 ? 9000 : 90));
            packedBlocks += ExpectLiteralForm(content) < content.size() ? 1 : 0;
        }
    }
    EXPECT_GT(packedBlocks, 60);
}

TEST(BytePair, EqualsTheLiteralFormAtTheLimitsOfCountsAndRuns) {
    ExpectLiteralForm(Join({Bytes(255, std::byte{0}), Bytes(300, std::byte{1})}));

    // All values from 61 to 254 become codes but for one, which meets the longest run of entries.
    Random random(3);
    for (int literal = 182; literal < 192; ++literal) {
        SCOPED_TRACE("literal " + std::to_string(literal));
        const Bytes part = Join({Make({literal}), RandomBytes(random, 339, 61)});
        EXPECT_LT(ExpectLiteralForm(Repeat(part, 6)), 1500u);
    }
}

TEST(BytePair, RefusesWhatCannotBeExpanded) {
    const Bytes literals = Make({254, 254, 129});
    const struct {
        const char* name;
        Bytes packed;
    } rows[] = {
        {"table missing", Make({254})},
        {"values past 255", Make({255, 255, 129, 0, 1, 'a'})},
        {"entries past 255", Join({Make({254, 254, 2}), Make({254, 255, 0, 0, 0, 1, 'a'})})},
        {"half a length", Join({literals, Make({0})})},
        {"length past the end", Join({literals, Make({0, 3, 'a', 'b'})})},
        {"code within its left half", Make({254, 254, 1, 255, 0, 254, 0, 0, 1, 254})},
        {"code within its right half", Make({254, 254, 0, 'a', 254, 128, 0, 1, 254})},
        {"code of itself twice, through another",
         Make({254, 254, 1, 255, 255, 254, 254, 0, 1, 255})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Expand(row.packed), std::nullopt);
        EXPECT_EQ(ExpandLiterally(row.packed), std::nullopt);
    }
}

TEST(BytePair, ExpandsOddButSoundBlocks) {
    // Each code from 1 up stands for the one below it and a zero: the deepest tables there are.
    Bytes leftChain = Make({128, 127});
    Bytes rightChain = leftChain;
    for (int c = 1; c < 256; ++c) {
        if (c == 129) {
            leftChain.push_back(std::byte{126});
            rightChain.push_back(std::byte{126});
        }
        leftChain = Join({leftChain, Make({c - 1, 0})});
        rightChain = Join({rightChain, Make({0, c - 1})});
    }
    const Bytes last = Make({0, 1, 255});
    EXPECT_EQ(Expand(Join({leftChain, last})), Bytes(256));
    EXPECT_EQ(Expand(Join({rightChain, last})), Bytes(256));
    EXPECT_EQ(Expand(Join({rightChain, last}), 256), Bytes(256)) << "exact fit";
    EXPECT_EQ(Expand(Join({rightChain, last}), 255), std::nullopt) << "one byte short";

    const Bytes empty = Make({254, 254, 129, 0, 0});
    EXPECT_EQ(Expand(Repeat(empty, kBlock / empty.size())), Bytes()) << "only empty sub-blocks";
    EXPECT_EQ(Expand(Make({254, 254, 0, 254, 129, 0, 1, 'x'})), std::nullopt)
        << "one value too many";
    EXPECT_EQ(Expand(Make({254, 254, 0, 255, 254, 128, 0, 1, 'x'})), Make({'x'})) << "unused code";
}

TEST(BytePair, MeetsEveryPrefixAndFlipOfABlockAsTheLiteralFormDoes) {
    Random random(5);
    const Bytes packed = Compress(Words(random, 2300));
    int refused = 0;
    for (std::size_t size = 0; size < packed.size(); ++size) {
        SCOPED_TRACE("prefix of " + std::to_string(size));
        const Bytes prefix(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size));
        const auto content = Expand(prefix, 3200);
        ASSERT_EQ(content, ExpandLiterally(prefix, 3200));
        refused += content ? 0 : 1;

        Bytes flipped = packed;
        flipped[size] ^= static_cast<std::byte>(1 + random() % 255);
        ASSERT_EQ(Expand(flipped, 3200), ExpandLiterally(flipped, 3200));
    }
    EXPECT_EQ(refused, static_cast<int>(packed.size()) - 2)
        << "whole sub-blocks: none and the first";
}

TEST(BytePair, MeetsRandomTablesAsTheLiteralFormDoes) {
    int expanded = 0;
    for (unsigned seed = 0; seed < 3000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const auto first = static_cast<int>(random() % 120);
        const auto codes = static_cast<int>(1 + random() % 6);
        Bytes packed = Make({127 + 1 + first, codes - 1});
        for (int c = first + 1; c < first + 1 + codes; ++c) {
            packed.push_back(static_cast<std::byte>(c + 1));  // pairs, mostly with a code above
            packed.push_back(static_cast<std::byte>(c - static_cast<int>(random() % 3) + 1));
        }
        const int rest = 256 - first - 1 - codes;
        if (rest > 127) packed.push_back(std::byte{254});
        packed.push_back(static_cast<std::byte>(127 + (rest > 127 ? rest - 127 : rest)));
        packed = Join({packed, Make({0, 40}), Repeat(Make({first + 1, 200}), 20)});
        const auto content = Expand(packed, 900);
        ASSERT_EQ(content, ExpandLiterally(packed, 900));
        expanded += content ? 1 : 0;
    }
    EXPECT_GT(expanded, 100);
    EXPECT_LT(expanded, 2900);
}

}  // namespace
}  // namespace Vorn
