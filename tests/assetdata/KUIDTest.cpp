#include "assetdata/KUID.h"

#include "assetdata/TBuffer.h"
#include "tests/assetdata/LiteralKUID.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

TEST(KUIDs, TextsAreRead) {
    const KUID null;
    const Table<const char*, KUID, KUID> rows = {
        // text, as it is, strictly
        {"<kuid:123:456>", {123, 456, 0}, {123, 456, 0}},
        {"<KUID:-3:7>", {-3, 7, 127}, {-3, 7, 127}},
        {"<kuid2:123:456:3>", {123, 456, 3}, {123, 456, 3}},
        {"<kuid2:-3:7:1>", null, null},
        {"<kuid2:1:2:127>", {1, 2, 127}, {1, 2, 127}},
        {"<kuid2:1:2:200>", null, null},
        {"<kuid2:33554431:1:1>", {33554431, 1, 1}, {33554431, 1, 1}},
        {"<kuid2:40000000:1:1>", null, null},
        {"<kuid:-33554432:1>", {-33554432, 1, 127}, {-33554432, 1, 127}},
        {"<kuid:-33554433:1>", null, null},
        {"<kuid:12:34", {12, 34, 0}, null},
        {"<kuid:1:2147483648>", null, null},
        {"123:456", {123, 456, 0}, null},
        {"<123:456>", {123, 456, 0}, null},
        {"789", {-1, 789, 127}, null},
        {"abc", null, null},
        {"", null, null},
        {"<NULL>", null, null}};
    for (const auto& [text, loose, strict] : rows) {
        SCOPED_TRACE(text);
        EXPECT_EQ(KUID::Parse(text, false), loose);
        EXPECT_EQ(KUID::Parse(text, true), strict);
    }
    EXPECT_EQ(KUID::Parse("<kuid:1:2\0>3"sv, false), (KUID{1, 2, 0})) << "a zero byte ends it";
}

TEST(KUIDs, AreReadAsTheLiteralVersionReadsThem) {
    std::mt19937 random(7);
    const std::vector<std::string> pieces = {
        "<",        ">",          "kuid", "KUID2", ":", "-", "7",  "12", "33554431", "33554432",
        "33554433", "2147483648", "127",  "128",   " ", "l", "nu", "+",  "0"};
    for (int round = 0; round < 40000; ++round) {
        std::string text = random() % 2 ? "<kuid" + std::string(random() % 2 ? "2:" : ":") : "";
        for (auto left = random() % 8; left > 0; --left) text += pieces[random() % pieces.size()];
        for (const bool strict : {false, true}) {
            ASSERT_EQ(KUID::Parse(text, strict), Literal::ParseKUID(text.c_str(), strict)) << text;
        }
    }
}

TEST(KUIDs, HaveFourTextForms) {
    const Table<KUID, const char*, const char*, const char*, const char*> rows = {
        {{5, 9, 0}, "<kuid:5:9>", "&#60;kuid:5:9&#62;", "kuid 5 9", "5_9"},
        {{-3, 7, 127}, "<kuid:-3:7>", "&#60;kuid:-3:7&#62;", "kuid -3 7", "-3_7"},
        {{5, -9, 2}, "<kuid2:5:-9:2>", "&#60;kuid2:5:-9:2&#62;", "kuid2 5 -9 2", "5_-9_2"},
        {{-3, 7, 1}, "<kuid2:-3:7:1>", "&#60;kuid2:-3:7:1&#62;", "kuid2 -3 7 1", "-3_7_1"},
        {{}, "<NULL>", "&#60;NULL KUID&#62;", "NULLKUID", "NULLKUID"}};
    for (const auto& [kuid, tag, escaped, words, separated] : rows) {
        EXPECT_EQ(kuid.TagForm().View(), tag);
        EXPECT_EQ(kuid.EscapedForm().View(), escaped);
        EXPECT_EQ(kuid.WordForm().View(), words);
        EXPECT_EQ(kuid.SeparatedForm('_').View(), separated);
    }
    EXPECT_EQ(KUID().TagForm(), Intern("<NULL>"));
}

TEST(KUIDs, ArePacked) {
    const Table<KUID, std::string, std::string> rows = {
        // pair bytes, stream bytes
        {{5, 9, 0}, "\5\0\0\0\x9\0\0\0"s, "\x9\0\0\0\5\0\0\0"s},
        {{5, 9, 2}, "\5\0\0\4\x9\0\0\0"s, "\x9\0\0\0\5\0\0\4"s},
        {{-1, -1, 127}, std::string(8, '\xFF'), std::string(8, '\xFF')},
        {{-16777216, 1, 127}, "\0\0\0\xFF\1\0\0\0"s, "\1\0\0\0\0\0\0\xFF"s}};
    for (const auto& [kuid, pair, stored] : rows) {
        const KUID::Pair bytes = kuid.ToPair();
        EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(bytes.data()), 8), pair);
        EXPECT_EQ(KUID::FromPair(bytes), kuid);

        TBufferBlock block(64);
        TBuffer stream(block);
        (void)stream.Write("head....", 8);
        stream.Seek(0, SeekFrom::Start);
        EXPECT_EQ(stream.ReadByte(), 'h');
        stream.Seek(4, SeekFrom::Start);
        EXPECT_EQ(stream.ReadByte(), '.');
        EXPECT_TRUE(kuid.WriteTo(stream)) << "behind the byte that was read, not the buffer";
        EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(block.Content().data()), 13),
                  "head." + stored);
        stream.Seek(5, SeekFrom::Start);
        EXPECT_EQ(KUID::ReadFrom(stream), kuid) << "the last thing in its stream";
        stream.Seek(6, SeekFrom::Start);
        EXPECT_TRUE(KUID::ReadFrom(stream).IsNull()) << "a byte is missing";
    }
    EXPECT_EQ(KUID::FromPair((KUID{16777216, 1, 0}).ToPair()).userId, -16777216);
}

}  // namespace
}  // namespace Vorn::Testing
