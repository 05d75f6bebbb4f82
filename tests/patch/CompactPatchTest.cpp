// Parts of the compact patch: its directory, and contents that go through the models.
#include <fstream>
#include <regex>
#include <sstream>

#include "patch/compact/ContentCodec.h"
#include "patch/compact/Directory.h"
#include "patch/compact/GrowingEncoder.h"
#include "tests/support/Tests.h"

namespace patch::compact {
namespace {

using Vorn::Testing::Noise;
using Vorn::Testing::Prose;

Directory Example() {
    Directory directory;
    directory.removed = {0, 7, 8, 300};
    directory.changed = {{1, 0}, {2, -40}, {299, 100000}};
    directory.moved = {{"a/moved", 300}, {"b/moved", 0}};
    directory.empty = {"empty"};
    directory.added = {{"new/a", 5, {{Source::Kind::Old, 300}, {Source::Kind::Carried, 2}}, false},
                       {"new/b", 70000, {}, true}};
    directory.spots.Set(255, 77);
    return directory;
}

TEST(CompactDirectory, ComesBackAsItWas) {
    EXPECT_EQ(ParseDirectory(FormatDirectory(Example()), 301), Example());
    EXPECT_EQ(ParseDirectory(FormatDirectory({}), 0), Directory());
    const Shares shares{1, 200, 70000, 4};
    EXPECT_EQ(ParseShares(FormatShares(shares)), shares);
}

// The page's example, byte for byte.
TEST(CompactDirectory, IsAsThePageSays) {
    std::ifstream page(VORN_SOURCE_DIR "/docs/formats/compact-patch.md");
    delta::ByteBuffer bytes;
    for (std::string line; std::getline(page, line);) {
        std::smatch found;
        if (!std::regex_match(line, found, std::regex(R"(    ((?:[0-9a-f]{2} )+) *\S.*)")))
            continue;
        std::istringstream digits(found[1]);
        for (std::string pair; digits >> pair;) {
            bytes.push_back(static_cast<std::uint8_t>(std::stoi(pair, nullptr, 16)));
        }
    }
    Directory expected;
    expected.changed = {{0, 1}};
    expected.moved = {{"b.txt", 0}};
    expected.spots.Set(43, 0x060504030201);
    EXPECT_EQ(ParseDirectory(bytes, 1), expected);
    EXPECT_EQ(FormatDirectory(expected), bytes);
}

TEST(CompactDirectory, RefusesWhatDoesNotFit) {
    const delta::ByteBuffer good = FormatDirectory(Example());
    EXPECT_THROW((void)ParseDirectory(good, 300), delta::Error) << "place 300 is not there";
    for (std::size_t size = 0; size < good.size(); ++size) {
        EXPECT_THROW((void)ParseDirectory(delta::ByteView(good).first(size), 301), delta::Error);
    }
    Directory later = Example();
    later.added[0].sources = {{Source::Kind::Carried, 3}};
    EXPECT_THROW((void)ParseDirectory(FormatDirectory(later), 301), delta::Error)
        << "a member is made of itself";
}

struct Pair {
    std::string old;
    std::string content;
    std::vector<delta::Segment> segments;
};

delta::ByteView View(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(CompactContents, ComeBackOneAfterAnother) {
    const std::string noise = Noise(40000, 3);
    const std::string prose = Prose(9000);
    std::string edited = prose;
    edited[100] = '!';
    edited[5000] = '?';
    const std::vector<Pair> pairs = {
        {"", prose, {{0, 0, 9000}}},
        {prose, edited + "end", {{0, 9000, 3}}},
        {"", noise, {{0, 0, 40000}}},
        {noise, noise.substr(300) + prose, {{300, 39700, 9000}}},
        {prose, prose.substr(10, 20) + "x" + prose.substr(2, 4), {{10, 20, 1}, {2, 4, 0}}},
    };
    GrowingEncoder encoder;
    auto models = std::make_unique<ContentModels>();
    std::vector<std::size_t> sizes;
    for (const Pair& pair : pairs) {
        ContentCodec<GrowingEncoder>(encoder, *models)
            .Code(View(pair.old), View(pair.content), pair.segments);
        sizes.push_back(encoder.Size());
    }
    EXPECT_LT(sizes[1] - sizes[0], 40u) << "two bytes and three more";
    EXPECT_LT(sizes[2] - sizes[1], 40100u) << "noise takes its own bytes";
    EXPECT_LT(sizes[3] - sizes[2], 200u) << "fresh bytes that an earlier member had";
    const delta::ByteBuffer coded = encoder.Finish();
    models = std::make_unique<ContentModels>();
    delta::RangeDecoder decoder(coded);
    for (const Pair& pair : pairs) {
        std::string content(pair.content.size(), '\0');
        ContentCodec<delta::RangeDecoder>(decoder, *models)
            .Code(View(pair.old), {reinterpret_cast<std::uint8_t*>(content.data()), content.size()},
                  {});
        EXPECT_TRUE(content == pair.content);
    }
    EXPECT_TRUE(decoder.AtEnd());
}

TEST(CompactContents, AnyBytesDecodeToSomethingOrAreRefused) {
    const std::string old = Prose(3000);
    for (unsigned seed = 1; seed < 300; ++seed) {
        const std::string coded = Noise(seed * 3, seed);
        delta::RangeDecoder decoder(View(coded));
        auto models = std::make_unique<ContentModels>();
        std::string content(5000, '\0');
        try {
            ContentCodec<delta::RangeDecoder>(decoder, *models)
                .Code(View(old), {reinterpret_cast<std::uint8_t*>(content.data()), content.size()},
                      {});
        } catch (const delta::Error& error) {
            EXPECT_EQ(error.Kind(), delta::ErrorKind::Damaged);
        }
    }
}

}  // namespace
}  // namespace patch::compact
