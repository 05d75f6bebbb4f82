#include "kernel/String.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

constexpr const char* kNoText = nullptr;

TEST(String, NullAndEmptyDiffer) {
    String null;
    const String empty("");
    EXPECT_TRUE(null.IsNull() && String(kNoText).IsNull() && String(InternedString()).IsNull());
    EXPECT_STREQ(null.Text(), "");
    EXPECT_FALSE(empty.IsNull());
    EXPECT_EQ(empty.Compare(null), 2);
    EXPECT_EQ(null.Compare(empty), 0);
    EXPECT_EQ(null.CompareNoCase(String()), 1);
    EXPECT_EQ(null.Compare(kNoText), 1);
    EXPECT_EQ(empty.Compare(kNoText), 2);
    EXPECT_EQ(null.Compare(""), 0);
    EXPECT_EQ(String(Intern("name")).View(), "name");
    null.Assign(String().Text());
    EXPECT_FALSE(null.IsNull());
}

TEST(String, CapacityMovesInStepsOf16) {
    for (const auto& [length, capacity] :
         Table<std::size_t, std::uint32_t>{{0, 16}, {14, 16}, {15, 32}, {30, 32}, {31, 48}}) {
        const String text(std::string(length, 'x').c_str());
        EXPECT_EQ(text.Length(), length);
        EXPECT_EQ(text.Capacity(), capacity) << length;
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

TEST(String, EditsMatchTheTableAndLeaveCopiesAlone) {
    using Edit = void (*)(String&);
    for (const auto& [edit, text] : Table<Edit, const char*>{
             {[](String& s) { s.Erase(2, 100); }, "ab"},
             {[](String& s) { s.Erase(2, SIZE_MAX); }, "ab"},
             {[](String& s) { s.Erase(1, 2); }, "adef"},
             {[](String& s) { s.Erase(6, 1); }, "abcdef"},
             {[](String& s) { s.Insert(6, "x"); }, "abcdefx"},
             {[](String& s) { s.Insert(7, "x"); }, "abcdef"},
             {[](String& s) { s.Insert(2, "0123456789"); }, "ab0123456789cdef"},
             {[](String& s) { s.Assign("xyz", 2); }, "xy"},
             {[](String& s) { s.Assign("xyz", 9); }, "xyz"},
             {[](String& s) { s.Assign("xyz", -1); }, "xyz"},
             {[](String& s) { s = "x"; }, "x"},
             {[](String& s) { s.Append("x"); }, "abcdefx"},
             {[](String& s) { s.Format("%d", 7); }, "7"},
             {[](String& s) { s.AppendFormat("%d", 7); }, "abcdef7"},
             {[](String& s) { s.RemoveChars("ace"); }, "bdf"},
             {[](String& s) { s.Clear(); }, ""}}) {
        for (const bool shared : {false, true}) {
            String edited("abcdef");
            const String other(shared ? edited : String());
            edit(edited);
            EXPECT_STREQ(edited.Text(), text);
            EXPECT_EQ(edited.Length(), std::string_view(text).size());
            EXPECT_EQ(other.View(), shared ? "abcdef" : "");
        }
    }
    const String original("abc");
    EXPECT_EQ(String(original).Text(), original.Text());
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
    for (const auto& [taken, left] : Table<const char*, const char*>{
             {"a", "\\\\b"},
             {"b", ""},
             {"", ""},
         }) {
        text.NextToken("\\/", token);
        EXPECT_EQ(token.View(), taken);
        EXPECT_EQ(text.View(), left);
    }
    EXPECT_TRUE(token.IsNull());
}

TEST(String, FindsAndCompares) {
    const String text("abca");
    EXPECT_EQ(std::tuple(text.Find('a', 0), text.Find('a', 1), text.Find('a', 9)),
              std::tuple(0, 3, -1));
    EXPECT_EQ(String().Find('a', 0), -1);
    // Bytes are unsigned, and letter case is that of the ANSI code page.
    for (const auto& [a, b, order, orderNoCase] : Table<const char*, const char*, int, int>{
             {"abca", "abc", 2, 2},
             {"abca", "abca", 1, 1},
             {"abca", "abd", 0, 0},
             {"abca", "Abca", 2, 1},
             {"a", "B", 2, 0},
             {"AB", "a", 0, 2},
             {"\xC4", "\xE4", 0, 1},
             {"z", "\xE4", 0, 0},
         }) {
        const String left(a);
        EXPECT_EQ(left.Compare(b), order) << a << " and " << b;
        EXPECT_EQ(left.CompareNoCase(String(b)), orderNoCase) << a << " and " << b;
    }
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
    EXPECT_EQ(shared.View(), "text that every thread copies");
}

}  // namespace
}  // namespace Vorn::Testing
