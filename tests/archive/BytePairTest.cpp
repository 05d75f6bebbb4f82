#include "archive/BytePair.h"

#include "tests/archive/LiteralBytePair.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {

using archive::CompressBlock;
using archive::ExpandBlock;

namespace {

using Random = std::mt19937;

constexpr std::size_t kBlock = 16384;

std::string Repeat(std::string_view part, std::size_t times) {
    std::string all;
    while (times-- > 0) all += part;
    return all;
}

// The bytes from `first` up to and not with `end`, but for 'a' and 'b'.
std::string Distinct(int first, int end) {
    std::string bytes;
    for (int c = first; c < end; ++c) {
        if (c != 'a' && c != 'b') bytes.push_back(static_cast<char>(c));
    }
    return bytes;
}

std::string RandomBytes(Random& random, std::size_t size, unsigned values) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() % values);
    return bytes;
}

auto In(const std::string& bytes) { return std::as_bytes(std::span(bytes)); }
auto Out(std::string& bytes, std::size_t room) {
    return std::as_writable_bytes(std::span(bytes).first(room));
}

// Returns the content of a block, on which both decoders must agree; nullopt for a corrupt one.
std::optional<std::string> Expand(const std::string& packed, std::size_t room = kBlock) {
    std::string content(room + 64, '#');
    std::string literal(room, '#');
    const auto size = ExpandBlock(Out(content, room), In(packed));
    EXPECT_EQ(size, Literal::ExpandBlock(Out(literal, room), In(packed)));
    EXPECT_EQ(content.substr(room), std::string(64, '#'));
    if (!size) return std::nullopt;
    EXPECT_EQ(content.substr(0, *size), literal.substr(0, *size));
    return content.substr(0, *size);
}

// The packed bytes, in which both forms agree.
std::string Compress(const std::string& content) {
    std::string packed(content.size() + 8, '#');
    std::string literal(content.size(), '#');
    const std::size_t size = CompressBlock(Out(packed, content.size()), In(content));
    literal.resize(Literal::CompressBlock(Out(literal, content.size()), In(content)));
    EXPECT_EQ(packed.substr(content.size()), "########");
    packed.resize(size);
    EXPECT_EQ(packed, literal);
    if (size < content.size()) {
        EXPECT_EQ(Expand(packed), content);
    }
    return packed;
}

TEST(BytePair, PacksToTheFixedBytes) {
    const std::string ab = "ab";
    const std::string zeros(2048, '\0');
    // Two equal sub-blocks; after a full set of distinct values the same zeros make one.
    const std::string packedZeros = Compress(zeros + zeros);
    const std::string oneSubBlock = packedZeros.substr(0, packedZeros.size() / 2);
    const std::string others = Distinct(0, 210);
    const Table<const char*, std::string, std::string> rows = {
        {"32 times ab", Repeat(ab, 32),
         "\xFE\xFA\x04\xFB\xFB\xFC\xFC\xFD\xFD\xFE\xFE\x61\x62\x80\0\x02\xFA\xFA"s},
        {"210 distinct values end a sub-block without codes", others + ab + zeros,
         "\xFE\xFE\x81\0\xD2"s + others + ab + oneSubBlock},
        {"one code", Repeat(ab, 3) + others + zeros,
         "\xFE\xFE\0ab\x80\0\xD3\xFE\xFE\xFE"s + others + oneSubBlock},
        {"nothing", "", ""},
        {"too short to gain", Repeat(ab, 3), Repeat(ab, 3)}};
    for (const auto& [name, content, packed] : rows) {
        EXPECT_EQ(Compress(content), packed) << name;
    }
}

std::string Words(Random& random, std::size_t size) {
    std::vector<std::string> words(40);
    for (std::string& word : words) word = RandomBytes(random, 1 + random() % 9, 200);
    std::string text;
    while (text.size() < size) text += words[random() % words.size()];
    return text;
}

std::string Runs(Random& random, std::size_t size) {
    std::string bytes;
    while (bytes.size() < size) bytes.append(random() % 700, static_cast<char>(random() % 4));
    return bytes;
}

// A period that overlaps itself, with faults here and there.
std::string Periods(Random& random, std::size_t size) {
    std::string bytes = Repeat(RandomBytes(random, 2 + random() % 12, 2), size).substr(0, size);
    for (std::size_t i = 0; i < size / 100; ++i)
        bytes[random() % size] = static_cast<char>(random());
    return bytes;
}

TEST(BytePair, EqualsTheLiteralForm) {
    int packedBlocks = 0;
    for (unsigned seed = 0; seed < 24; ++seed) {
        Random random(seed);
        // Short ones are at the limit of what is worth packing.
        const std::size_t size = 1 + random() % (seed % 3 == 0 ? 9000 : 90);
        for (const std::string& content :
             {RandomBytes(random, size, 2), RandomBytes(random, size, 20),
              RandomBytes(random, size, 230), RandomBytes(random, size, 256), Words(random, size),
              Runs(random, size), Periods(random, size)}) {
            SCOPED_TRACE(testing::Message()
                         << "seed " << seed << " " << testing::PrintToString(content));
            packedBlocks += Compress(content).size() < content.size() ? 1 : 0;
        }
    }
    EXPECT_GT(packedBlocks, 60);

    // The limits of counts and runs.
    EXPECT_LT(Compress(std::string(kBlock, '\7')).size(), kBlock / 50);
    EXPECT_LT(Compress(std::string(255, '\0') + std::string(300, '\1')).size(), 100u);
    // All values from 61 to 254 become codes but for one, which meets the longest run of entries.
    Random random(3);
    for (int literal = 182; literal < 192; ++literal) {
        SCOPED_TRACE(literal);
        const std::string part = static_cast<char>(literal) + RandomBytes(random, 339, 61);
        EXPECT_LT(Compress(Repeat(part, 6)).size(), 1500u);
    }
}

TEST(BytePair, RefusesWhatCannotBeExpanded) {
    for (const auto& [name, packed] : Table<const char*, std::string>{
             {"table missing", "\xFE"},
             {"values past 255", "\xFF\xFF\x81\0\1a"s},
             {"entries past 255", "\xFE\xFE\2\xFE\xFF\0\0\0\1a"s},
             {"half a length", "\xFE\xFE\x81\0"s},
             {"length past the end", "\xFE\xFE\x81\0\3ab"s},
             {"code within its left half", "\xFE\xFE\1\xFF\0\xFE\0\0\1\xFE"s},
             {"code within its right half", "\xFE\xFE\0a\xFE\x80\0\1\xFE"s},
             {"code of itself twice, through another", "\xFE\xFE\1\xFF\xFF\xFE\xFE\0\1\xFF"s},
             {"one value too many", "\xFE\xFE\0\xFE\x81\0\1x"s}}) {
        EXPECT_EQ(Expand(packed), std::nullopt) << name;
    }
}

TEST(BytePair, ExpandsOddButSoundBlocks) {
    // Each code from 1 up stands for the one below it and a zero: the deepest tables there are.
    std::string leftChain = "\x80\x7F";
    std::string rightChain = leftChain;
    for (int c = 1; c < 256; ++c) {
        if (c == 129) leftChain += '\x7E', rightChain += '\x7E';
        leftChain += {static_cast<char>(c - 1), '\0'};
        rightChain += {'\0', static_cast<char>(c - 1)};
    }
    const std::string zeros(256, '\0');
    const std::string last = "\0\1\xFF"s;
    EXPECT_EQ(Expand(leftChain + last), zeros);
    EXPECT_EQ(Expand(rightChain + last, 256), zeros) << "exact fit";
    EXPECT_EQ(Expand(rightChain + last, 255), std::nullopt) << "one byte short";
    EXPECT_EQ(Expand(Repeat("\xFE\xFE\x81\0\0"sv, kBlock / 5)), "") << "only empty sub-blocks";
    EXPECT_EQ(Expand("\xFE\xFE\0\xFF\xFE\x80\0\1x"s), "x") << "unused code";
}

TEST(BytePair, MeetsDamagedBlocksAsTheLiteralFormDoes) {
    Random random(5);
    const std::string packed = Compress(Words(random, 2300));
    std::size_t refused = 0;
    for (std::size_t size = 0; size < packed.size(); ++size) {
        SCOPED_TRACE(size);
        refused += Expand(packed.substr(0, size), 3200) ? 0 : 1;
        for (const int most : {255, 3}) {  // near ones turn a code into one above or below
            std::string changed = packed;
            changed[size] = static_cast<char>(changed[size] + 1 + random() % most);
            (void)Expand(changed, 3200);
        }
    }
    EXPECT_EQ(refused, packed.size() - 2) << "whole sub-blocks: none and the first";
}

}  // namespace
}  // namespace Vorn::Testing
