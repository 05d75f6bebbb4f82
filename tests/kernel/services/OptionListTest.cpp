// Option texts as a person writes them, and the lookups on what was read.
#include "kernel/services/OptionList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "kernel/services/KernelOptions.h"

namespace Vorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs PairsOf(const OptionList& list) {
    Pairs pairs;
    for (const Option& option : list) pairs.emplace_back(option.name.Text(), option.value.Text());
    return pairs;
}

std::vector<std::string> ItemsOf(const std::string& text, const char* separators) {
    OptionList list;
    ParseOptions(list, text);
    BeginOptionValues(*FindOption(list, "v"), separators);
    std::vector<std::string> items;
    for (String item; NextOptionValue(list, "V", item);) items.emplace_back(item.Text());
    return items;
}

TEST(OptionParsing, ReadsNamesAndValuesInOrderOfFirstAppearance) {
    const struct {
        std::string text;
        Pairs options;
    } rows[] = {
        {"", {}},
        {" \t\n\v\f\r", {}},
        {"-HideWindow", {{"hidewindow", ""}}},
        {"a/b /C\xC4 +d", {{"a/b", ""}, {"c\xC4", ""}, {"d", ""}}},
        {"-LogFlush- -LogFlush2+x", {{"logflush", "-"}, {"logflush2", "+"}, {"x", ""}}},
        {"-A -", {{"a", ""}}},
        {"-A=1 -a=2 -b", {{"a", "2"}, {"b", ""}}},
        {"-a=1 -a", {{"a", ""}}},
        {R"(-Path='C:\a b' -Next)", {{"path", R"(C:\a b)"}, {"next", ""}}},
        {R"(-a="x'b -c="open -d )", {{"a", "x"}, {"b", ""}, {"c", "open -d "}}},
        {R"(-LogFile=C:\My Logs\a.txt -X)", {{"logfile", R"(C:\My Logs\a.txt)"}, {"x", ""}}},
        {"-X=a -b", {{"x", "a"}, {"b", ""}}},
        {"-X=a-b \t /c", {{"x", "a-b"}, {"c", ""}}},
        {"X \n = \t a  b \r\n", {{"x", "a  b"}}},
        {"-X= -b", {{"x", "-b"}}},
        {"-X=", {{"x", ""}}},
        {"- =x --n +", {{"n", ""}}},
        {"=x -y=1", {{"y", "1"}}},
        {"- foo", {{"foo", ""}}},
        {"+R=OpenGL,DirectX", {{"r", "OpenGL,DirectX"}}},
        {"-R=Soft +r=OpenGL +R", {{"r", "Soft,OpenGL,"}}},
        {"-R +r=a /r=b", {{"r", "b"}}},
        {std::string("-a\0-b", 5), {{"a", ""}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        OptionList list;
        ParseOptions(list, row.text);
        EXPECT_EQ(PairsOf(list), row.options);
        EXPECT_EQ(list.Count(), row.options.size());
    }
}

TEST(OptionParsing, LaterTextsUpdateTheRecordsOfEarlierOnes) {
    KernelOptions options("", "-nullrender", 1, 2);
    OptionList& list = options.GetOptionList();
    EXPECT_THAT(PairsOf(list), IsEmpty());
    ParseOptions(list, "-Render=Soft -b=1");
    const Option* render = FindOption(list, "RENDER");
    ParseOptions(list, "-c +Render=OpenGL,DirectX");

    EXPECT_EQ(FindOption(list, "render"), render);
    EXPECT_EQ(FindOption(list, "rende"), nullptr);
    EXPECT_EQ(PairsOf(list), (Pairs{{"render", "Soft,OpenGL,DirectX"}, {"b", "1"}, {"c", ""}}));
}

// Looking each name up in the list itself would take many minutes.
TEST(OptionParsing, HundredsOfThousandsOfOptionsAreRead) {
    constexpr std::size_t kCount = 300'000;
    std::string text;
    for (std::size_t i = 0; i < kCount; ++i) text += "-n" + std::to_string(i) + " ";
    OptionList list;
    ParseOptions(list, text);

    EXPECT_EQ(list.Count(), kCount);
    EXPECT_NE(FindOption(list, "N299999"), nullptr);
}

TEST(OptionParsing, AppendingManyItemsMovesTheValueFewTimes) {
    OptionList list;
    std::set<std::uint32_t> capacities;
    for (int i = 0; i < 10'000; ++i) {
        ParseOptions(list, "+all=v");
        capacities.insert(list.begin()->value.Capacity());
    }
    EXPECT_EQ(list.begin()->value.Length(), 19'999u);
    EXPECT_LE(capacities.size(), 20u);
}

TEST(OptionLookup, BooleansFlipTheDefaultUnlessTheySayWhich) {
    const struct {
        const char* text;
        bool whenFalse, whenTrue;
    } rows[] = {
        {"-f", true, false},      {"+f", true, false},        {"-f-", false, false},
        {"-f+", true, true},      {"-f=oN", true, true},      {"-f=TRUE", true, true},
        {"-f=off", false, false}, {"-f=False", false, false}, {"-f=yes", true, false},
        {"-f=one", true, false},  {"-f=-x", false, false},    {"-f=+x", true, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        OptionList list;
        ParseOptions(list, row.text);
        bool out = false;
        EXPECT_TRUE(GetOptionBool(list, "F", out, false));
        EXPECT_EQ(out, row.whenFalse);
        EXPECT_TRUE(GetOptionBool(list, "f", out, true));
        EXPECT_EQ(out, row.whenTrue);
    }
}

TEST(OptionLookup, IntegersAreTheNumberAtTheStart) {
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    const struct {
        const char* text;
        int number;
    } rows[] = {{"-n=12abc", 12},
                {"-n", 0},
                {"-n=abc", 0},
                {"-n=' \t-7'", -7},
                {"-n=+8", 8},
                {"-n='+-8'", 0},
                {"-n=2147483648", kMost},
                {"-n=-2147483648", kLeast},
                {"-n=-99999999999999999999999", kLeast}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        OptionList list;
        ParseOptions(list, row.text);
        int out = -1;
        EXPECT_TRUE(GetOptionInt(list, "N", out, 5));
        EXPECT_EQ(out, row.number);
    }
}

TEST(OptionLookup, AMissingOptionGivesTheDefaultAndFalse) {
    OptionList list;
    ParseOptions(list, "-There=text");
    bool flag = false;
    int number = 0;
    String text;
    EXPECT_FALSE(GetOptionBool(list, "gone", flag, true));
    EXPECT_FALSE(GetOptionInt(list, "gone", number, 42));
    EXPECT_FALSE(GetOptionString(list, "gone", text, "fallback"));
    EXPECT_TRUE(flag);
    EXPECT_EQ(number, 42);
    EXPECT_STREQ(text.Text(), "fallback");
    EXPECT_TRUE(GetOptionString(list, "THERE", text, "fallback"));
    EXPECT_STREQ(text.Text(), "text");
}

TEST(OptionItems, EndAtSeparatorsAndLoseTrailingSpace) {
    EXPECT_THAT(ItemsOf("-v=File, Err ,Warn", ","), ElementsAre("File", "Err", "Warn"));
    EXPECT_THAT(ItemsOf("-v=a,;, b c;d ", ",;"), ElementsAre("a", "b c", "d"));
    EXPECT_THAT(ItemsOf("-v=a,b", ""), ElementsAre("a,b"));
    EXPECT_THAT(ItemsOf("-v=,a", ","), IsEmpty());
    EXPECT_THAT(ItemsOf("-v=' ,a'", ","), IsEmpty());
    EXPECT_THAT(ItemsOf("-v", ","), IsEmpty());
}

TEST(OptionItems, NeedABeginningAndEndWhenTheValueChanges) {
    OptionList list;
    ParseOptions(list, "-v=long-value,b");
    String item("untouched");
    EXPECT_FALSE(NextOptionValue(list, "v", item));
    EXPECT_FALSE(NextOptionValue(list, "gone", item));
    EXPECT_STREQ(item.Text(), "untouched");

    BeginOptionValues(*FindOption(list, "v"), ",");
    EXPECT_TRUE(NextOptionValue(list, "v", item));
    EXPECT_STREQ(item.Text(), "long-value");
    ParseOptions(list, "-v=x");
    EXPECT_FALSE(NextOptionValue(list, "v", item));
}

}  // namespace
}  // namespace Vorn
