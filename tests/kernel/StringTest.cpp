#include "kernel/String.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/kernel/InThreads.h"

namespace Vorn {
namespace {

TEST(String, NullAndEmptyDiffer) {
    String null;
    String empty("");
    EXPECT_TRUE(null.IsNull());
    EXPECT_STREQ(null.Text(), "");
    EXPECT_FALSE(empty.IsNull());
    EXPECT_EQ(empty.Capacity(), 16u);
    EXPECT_EQ(empty.Compare(null), 2);
    EXPECT_EQ(null.Compare(empty), 0);
    EXPECT_EQ(null.CompareNoCase(String()), 1);
    EXPECT_EQ(null.Compare(static_cast<const char*>(nullptr)), 1);
    EXPECT_EQ(empty.Compare(static_cast<const char*>(nullptr)), 2);
    EXPECT_EQ(null.Compare(""), 0);
    EXPECT_TRUE(String(static_cast<const char*>(nullptr)).IsNull());
    EXPECT_TRUE(String(InternedString()).IsNull());
    EXPECT_EQ(String(Intern("name")).View(), "name");
    null.Assign(String().Text());
    EXPECT_FALSE(null.IsNull());
}

TEST(String, CapacityMovesInStepsOf16) {
    const struct {
        std::size_t length;
        std::uint32_t capacity;
    } rows[] = {{0, 16}, {14, 16}, {15, 32}, {30, 32}, {31, 48}};
    for (const auto& row : rows) {
        const String text(std::string(row.length, 'x').c_str());
        EXPECT_EQ(text.Length(), row.length);
        EXPECT_EQ(text.Capacity(), row.capacity) << row.length;
    }
    String text;
    text.Reserve(0, true);
    EXPECT_EQ(text.Capacity(), 4u);
    text = "abc";
    const String other(text);
    text.Reserve(5, true);  // shared: a block of its own, no smaller than the old one
    EXPECT_NE(text.Text(), other.Text());
    EXPECT_EQ(text.Capacity(), 16u);
    EXPECT_EQ(text.View(), "abc");
    text.Reserve(100, false);
    EXPECT_EQ(text.Capacity(), 100u);
    EXPECT_EQ(text.View(), "");
}

TEST(String, CopiesShareUntilOneChanges) {
    const auto changes = std::vector<void (*)(String&)>{
        [](String& s) { s.Append("x"); },          [](String& s) { s.Insert(0, "x"); },
        [](String& s) { s.Erase(0, 1); },          [](String& s) { s.RemoveChars("b"); },
        [](String& s) { s.Format("%d", 7); },      [](String& s) { s = "x"; },
        [](String& s) { s.AppendFormat("%d", 7); }};
    for (const auto change : changes) {
        const String original("abc");
        String copy(original);
        EXPECT_EQ(copy.Text(), original.Text());
        change(copy);
        EXPECT_EQ(original.View(), "abc");
        EXPECT_NE(copy.View(), "abc");
    }
}

TEST(String, EditsMatchTheTable) {
    const auto after = [](void (*edit)(String&)) {
        String text("abcdef");
        edit(text);
        EXPECT_EQ(text.Text()[text.Length()], '\0');
        return std::string(text.View());
    };
    EXPECT_EQ(after([](String& s) { s.Erase(2, 100); }), "ab");
    EXPECT_EQ(after([](String& s) { s.Erase(2, SIZE_MAX); }), "ab");
    EXPECT_EQ(after([](String& s) { s.Erase(1, 2); }), "adef");
    EXPECT_EQ(after([](String& s) { s.Erase(6, 1); }), "abcdef");
    EXPECT_EQ(after([](String& s) { s.Insert(6, "x"); }), "abcdefx");
    EXPECT_EQ(after([](String& s) { s.Insert(7, "x"); }), "abcdef");
    EXPECT_EQ(after([](String& s) { s.Insert(2, "0123456789"); }), "ab0123456789cdef");
    EXPECT_EQ(after([](String& s) { s.Assign("xyz", 2); }), "xy");
    EXPECT_EQ(after([](String& s) { s.Assign("xyz", 9); }), "xyz");
    EXPECT_EQ(after([](String& s) { s.Assign("xyz", -1); }), "xyz");
    EXPECT_EQ(after([](String& s) { s.RemoveChars("ace"); }), "bdf");
    EXPECT_EQ(after([](String& s) { s.Clear(); }), "");
}

TEST(String, OwnTextMayBeTheArgument) {
    String text("abc");
    text.Append(text.Text());
    text.Append(text.Text() + 3);
    EXPECT_EQ(text.View(), "abcabcabc");
    text.Insert(1, text.Text() + 7);
    EXPECT_EQ(text.View(), "abcbcabcabc");
    text.Assign(text.Text() + 1, 3);
    EXPECT_EQ(text.View(), "bcb");
    text.Format("<%s>", text.Text());
    EXPECT_EQ(text.View(), "<bcb>");
    text.RemoveChars(text.Text());
    EXPECT_EQ(text.View(), "");
}

TEST(String, FormatsAnyLength) {
    String text;
    for (const int length : {1, 1022, 1023, 1024, 32767, 32768, 33554431}) {
        text.Format("%*d", length, 7);
        ASSERT_EQ(text.Length(), static_cast<std::uint32_t>(length));
        EXPECT_EQ(text.Text()[length - 1], '7');
    }
    text.Format("%*d", 33554432, 7);  // one more than the largest buffer holds
    EXPECT_TRUE(text.IsNull());
    text.AppendFormat("%s", "ab");
    text.AppendFormat("%s", "");
    text.AppendFormat("%d", 1);
    EXPECT_EQ(text.View(), "ab1");
    text.Format("%s", "");
    EXPECT_TRUE(text.IsNull());
}

TEST(String, NextTokenLeavesTheDelimiterBehind) {
    String text("\\a\\\\b");
    String token;
    text.NextToken("\\/", token);
    EXPECT_EQ(token.View(), "a");
    EXPECT_EQ(text.View(), "\\\\b");
    text.NextToken("\\/", token);
    EXPECT_EQ(token.View(), "b");
    text.NextToken("\\/", token);
    EXPECT_TRUE(token.IsNull());
    EXPECT_EQ(text.View(), "");
}

TEST(String, FindsAndCompares) {
    const String text("abca");
    EXPECT_EQ(text.Find('a', 0), 0);
    EXPECT_EQ(text.Find('a', 1), 3);
    EXPECT_EQ(text.Find('a', 9), -1);
    EXPECT_EQ(String().Find('a', 0), -1);
    EXPECT_EQ(text.Compare("abc"), 2);
    EXPECT_EQ(text.Compare("abca"), 1);
    EXPECT_EQ(text.Compare("abd"), 0);
    EXPECT_EQ(text.Compare("Abca"), 2);
    EXPECT_EQ(text.Compare("\xE4"), 0);  // bytes are unsigned
    EXPECT_EQ(String("\xC4").CompareNoCase("\xE4"), 1);
    EXPECT_EQ(String("a").CompareNoCase("B"), 0);
    EXPECT_EQ(String("AB").CompareNoCase("a"), 2);
}

TEST(String, BlocksAreSharedAcrossThreads) {
    const String shared("text that every thread copies");
    InThreads(4, [&shared](std::size_t t) {
        for (std::size_t i = 0; i < 5000; ++i) {
            String copy(shared);
            if (i % 3 == t % 3) copy.Append("!");
            String null;
            null = copy;
        }
    });
    String last(shared);
    EXPECT_EQ(last.View(), "text that every thread copies");
}

}  // namespace
}  // namespace Vorn
