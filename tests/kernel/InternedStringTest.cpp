#include "kernel/InternedString.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>

namespace Vorn {
namespace {

TEST(InternedString, NullAndEmptyAreDifferentHandles) {
    const InternedString null = Intern(static_cast<const char*>(nullptr));
    const InternedString empty = Intern("");
    EXPECT_FALSE(null);
    EXPECT_FALSE(Intern(nullptr, 0));
    EXPECT_FALSE(Intern(std::string_view{}));
    EXPECT_FALSE(InternAtMost(nullptr, 5));
    EXPECT_TRUE(empty);
    EXPECT_EQ(null.Text(), nullptr);
    EXPECT_STREQ(empty.Text(), "");
    EXPECT_EQ(null.View(), "");
    EXPECT_NE(null, empty);
}

TEST(InternedString, TakesAsMuchOfTheTextAsAsked) {
    EXPECT_EQ(Intern("abcdef", 3).View(), "abc");
    EXPECT_STREQ(Intern("abcdef", 3).Text(), "abc");
    EXPECT_EQ(InternAtMost("abc", 2).View(), "ab");
    EXPECT_EQ(InternAtMost("abc", 9), Intern("abc"));
    EXPECT_EQ(InternAtMost("abc", -1), Intern("abc"));
    EXPECT_EQ(InternAtMost("abc", 0), Intern(""));
}

TEST(InternedString, ComparesWithoutLetterCaseAndSortsWithIt) {
    const struct {
        InternedString handle;
        const char* text;
        int sign;
    } rows[] = {{{}, "", 0},
                {{}, nullptr, 0},
                {{}, "a", -1},
                {Intern(""), nullptr, 0},
                {Intern(""), "", 0},
                {Intern("a"), nullptr, 1},
                {Intern("ABC"), "abc", 0},
                {Intern("abc"), "ABC", 0},
                {Intern("ab"), "ABC", -1},
                {Intern("abc"), "AB", 1},
                {Intern("_"), "A", -1},        // '_' lies between 'A' and 'a'
                {Intern("\xC4"), "\xE4", -1},  // only A to Z are folded
                {Intern("\xE4"), "z", 1}};
    for (const auto& row : rows) {
        const int order = CompareText(row.handle, row.text);
        EXPECT_EQ((order > 0) - (order < 0), row.sign) << row.handle.View();
    }
    const InternedString ascending[] = {
        {}, Intern(""), Intern("ABC"), Intern("abc"), Intern("\xE4")};
    for (const InternedString& a : ascending) {
        for (const InternedString& b : ascending) EXPECT_EQ(Less(a, b), &a < &b);
    }
}

TEST(InternedString, CopiesAndSearchesText) {
    const InternedString name = Intern("abcdef");
    std::array<char, 8> buffer{};
    const struct {
        std::size_t size;
        std::size_t copied;
        const char* text;
    } rows[] = {{4, 3, "abc"}, {7, 6, "abcdef"}, {1, 0, ""}};
    for (const auto& row : rows) {
        buffer.fill('#');
        EXPECT_EQ(CopyTo(name, buffer.data(), row.size), row.copied);
        EXPECT_STREQ(buffer.data(), row.text);
        EXPECT_EQ(buffer[row.copied + 1], '#');
    }
    buffer.fill('#');
    EXPECT_EQ(CopyTo(name, buffer.data(), 0), 0u);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(CopyTo({}, buffer.data(), 8), 0u);
    EXPECT_EQ(buffer[0], '\0');

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

TEST(InternedString, EditsMatchTheTable) {
    const auto after = [](const char* text, const auto& edit) {
        InternedString name = Intern(text);
        const InternedString before = name;
        edit(name);
        EXPECT_EQ(before, Intern(text));
        return name;
    };
    const auto erase = [&](std::size_t position, std::size_t count) {
        return after("abcdef", [&](InternedString& n) { Erase(n, position, count); }).View();
    };
    const auto insert = [&](const char* text, std::size_t position) {
        return after("abcdef", [&](InternedString& n) { Insert(n, text, position); }).View();
    };
    EXPECT_EQ(erase(2, 100), "ab");
    EXPECT_EQ(erase(2, SIZE_MAX), "ab");
    EXPECT_EQ(erase(1, 2), "adef");
    EXPECT_EQ(erase(6, 1), "abcdef");
    EXPECT_EQ(erase(0, 0), "abcdef");
    EXPECT_EQ(insert("xyz", 3), "abcxyzdef");
    EXPECT_EQ(insert("x", 6), "abcdefx");
    EXPECT_EQ(insert("x", 7), "abcdef");
    EXPECT_EQ(insert("", 0), "abcdef");
    EXPECT_EQ(insert(nullptr, 0), "abcdef");
    const auto lower = after("AbZ[\xC4", [](InternedString& n) { ToLower(n); });
    EXPECT_EQ(lower.View(), "abz[\xC4");

    InternedString name;
    Insert(name, nullptr, 0);
    Erase(name, 0, 1);
    ToLower(name);
    EXPECT_FALSE(name);
    Insert(name, "new", 5);
    Insert(name, name.Text(), 1);
    EXPECT_EQ(name.View(), "nnewew");
}

}  // namespace
}  // namespace Vorn
