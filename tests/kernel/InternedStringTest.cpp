#include "kernel/InternedString.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

TEST(InternedString, TakesNoTextAndAsMuchOfATextAsAsked) {
    const InternedString null = Intern(static_cast<const char*>(nullptr));
    const InternedString empty = Intern("");
    EXPECT_FALSE(null || Intern(nullptr, 0) || Intern(std::string_view{}));
    EXPECT_FALSE(InternAtMost(nullptr, 5));
    EXPECT_TRUE(empty);
    EXPECT_EQ(null.Text(), nullptr);
    EXPECT_STREQ(empty.Text(), "");
    EXPECT_EQ(null.View(), "");
    EXPECT_NE(null, empty);

    EXPECT_STREQ(Intern("abcdef", 3).Text(), "abc");
    for (const auto& [most, text] :
         Table<int, const char*>{{2, "ab"}, {9, "abc"}, {-1, "abc"}, {0, ""}}) {
        EXPECT_EQ(InternAtMost("abc", most), Intern(text)) << most;
    }
}

TEST(InternedString, ComparesWithoutLetterCaseAndSortsWithIt) {
    using Rows = std::vector<std::pair<InternedString, const char*>>;
    // '_' lies between 'A' and 'a', and only A to Z are folded.
    for (const auto& [sign, rows] : Table<int, Rows>{
             {-1, {{{}, "a"}, {Intern("ab"), "ABC"}, {Intern("_"), "A"}, {Intern("\xC4"), "\xE4"}}},
             {0, {{{}, ""}, {{}, nullptr}, {Intern(""), nullptr}, {Intern(""), ""}}},
             {0, {{Intern("ABC"), "abc"}, {Intern("abc"), "ABC"}}},
             {1, {{Intern("a"), nullptr}, {Intern("abc"), "AB"}, {Intern("\xE4"), "z"}}}}) {
        for (const auto& [handle, text] : rows) {
            const int order = CompareText(handle, text);
            EXPECT_EQ((order > 0) - (order < 0), sign) << handle.View();
        }
    }
    const InternedString ascending[] = {
        {}, Intern(""), Intern("ABC"), Intern("abc"), Intern("\xE4")};
    for (const InternedString& a : ascending) {
        for (const InternedString& b : ascending) EXPECT_EQ(Less(a, b), &a < &b);
    }
}

TEST(InternedString, CopiesAndSearchesText) {
    const InternedString name = Intern("abcdef");
    for (const auto& [handle, size, copied, buffer] :
         Table<InternedString, std::size_t, std::size_t, std::string>{{name, 4, 3, "abc\0####"s},
                                                                      {name, 7, 6, "abcdef\0#"s},
                                                                      {name, 1, 0, "\0#######"s},
                                                                      {name, 0, 0, "########"s},
                                                                      {{}, 8, 0, "\0#######"s}}) {
        std::string got(8, '#');
        EXPECT_EQ(CopyTo(handle, got.data(), size), copied);
        EXPECT_EQ(got, buffer);
    }
    EXPECT_EQ(FindText(name, "cd", 0), 2);
    EXPECT_EQ(FindText(name, "cd", 3), -1);
    EXPECT_EQ(FindText(name, "CD", 0), -1);
    EXPECT_EQ(FindText(name, "a", 99), -1);
    EXPECT_EQ(FindText({}, "a", 0), -1);
}

TEST(InternedString, FormatsWithItsOwnTextAmongTheArguments) {
    InternedString name = Intern("base");
    FormatInto(name, "%s-diff", name.Text());
    EXPECT_EQ(name, Intern("base-diff"));
    FormatInto(name, "%*d", 5000, 1);
    EXPECT_EQ(name.Length(), 5000u);
    FormatInto(name, "%s", "");
    EXPECT_FALSE(name);
}

TEST(InternedString, EditsLeaveOtherHandlesAlone) {
    const InternedString before = Intern("abcdef");
    for (const auto& [position, count, left] : Table<std::size_t, std::size_t, const char*>{
             {2, 100, "ab"},
             {2, SIZE_MAX, "ab"},
             {1, 2, "adef"},
             {6, 1, "abcdef"},
             {0, 0, "abcdef"},
         }) {
        InternedString name = before;
        Erase(name, position, count);
        EXPECT_EQ(name.View(), left);
    }
    for (const auto& [text, position, result] : Table<const char*, std::size_t, const char*>{
             {"xyz", 3, "abcxyzdef"},
             {"x", 6, "abcdefx"},
             {"x", 7, "abcdef"},
             {"", 0, "abcdef"},
         }) {
        InternedString name = before;
        Insert(name, text, position);
        EXPECT_EQ(name.View(), result);
    }
    EXPECT_EQ(before.View(), "abcdef");

    InternedString name = before;
    Insert(name, nullptr, 0);
    EXPECT_EQ(name, before);
    name = {};
    Insert(name, nullptr, 0);
    Erase(name, 0, 1);
    ToLower(name);
    EXPECT_FALSE(name);
    Insert(name, "NOZ[\xC4", 5);
    Insert(name, name.Text(), 1);
    ToLower(name);
    EXPECT_EQ(name.View(), "nnoz[\xC4oz[\xC4");
}

}  // namespace
}  // namespace Vorn::Testing
