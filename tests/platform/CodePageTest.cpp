#include "platform/CodePage.h"

#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;

TEST(CodePage, EveryByteComesBackFromUtf16AndUtf8) {
    std::set<char16_t> units;
    std::string all;
    for (unsigned byte = 0; byte < 256; ++byte) {
        units.insert(AnsiToUtf16(static_cast<unsigned char>(byte)));
        all += static_cast<char>(byte);
    }
    EXPECT_EQ(units.size(), 256u);
    EXPECT_EQ(Utf16ToAnsi(AnsiToUtf16(all)), all);
    EXPECT_EQ(Utf8ToAnsi(AnsiToUtf8(all)), all);
    EXPECT_EQ(AnsiToUtf16("A\x80\x8A\x81\x9F\xE9"sv), u"A\u20AC\u0160\x81\u0178\u00E9");
    EXPECT_EQ(AnsiToUtf8("\x80\xE9\x99"), "\u20AC\u00E9\u2122");
    unsigned char byte = 7;
    EXPECT_FALSE(Utf16ToAnsi(u'\x80', byte));  // the byte 0x80 is the euro sign
    EXPECT_EQ(byte, 7);
}

TEST(CodePage, WhatTheCodePageLacksBecomesAQuestionMark) {
    EXPECT_EQ(Utf16ToAnsi(u"a\u0416b\U0001F600c"), "a?b?c");
    const char16_t loneSurrogates[] = {0xD800, u'x', 0xDC00, 0};
    EXPECT_EQ(Utf16ToAnsi(loneSurrogates), "?x?");
    // Outside the page, truncated, overlong 'A' in two and three bytes, not UTF-8.
    for (const std::string utf8 : {"\u0416", "\U0001F600", "\x80", "\xC3", "\xE2\x82", "\xC1\x81",
                                   "\xE0\x81\x81", "\xFF", "\xED\xA0\x80"}) {
        EXPECT_EQ(Utf8ToAnsi(utf8), "?") << testing::PrintToString(utf8);
        EXPECT_EQ(Utf8ToAnsi(utf8 + "x"), "?x") << testing::PrintToString(utf8);
    }
}

TEST(CodePage, LetterCaseKnowsTheWholeCodePage) {
    const std::string_view upper = "AZ\x8A\x8C\x8E\xC0\xD6\xD8\xDE\x9F";
    const std::string_view lower = "az\x9A\x9C\x9E\xE0\xF6\xF8\xFE\xFF";
    for (std::size_t i = 0; i < upper.size(); ++i) {
        const auto u = static_cast<unsigned char>(upper[i]);
        const auto l = static_cast<unsigned char>(lower[i]);
        EXPECT_TRUE(AnsiToLower(u) == l && AnsiToLower(l) == l) << i;
        EXPECT_TRUE(AnsiToUpper(l) == u && AnsiToUpper(u) == u) << i;
    }
    int letters = 0;
    for (unsigned byte = 0; byte < 256; ++byte) {
        letters += AnsiToLower(static_cast<unsigned char>(byte)) != byte ? 1 : 0;
    }
    EXPECT_EQ(letters, 26 + 30 + 4);  // 0xD7 and 0xF7 are not letters
}

}  // namespace
}  // namespace platform
