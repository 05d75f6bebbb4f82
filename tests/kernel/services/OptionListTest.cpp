// Option texts as a person writes them, and the lookups on what was read.
#include "kernel/services/OptionList.h"

#include "kernel/services/KernelOptions.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

// "name=value;" for each option.
std::string TextOf(const OptionList& list) {
    std::string text;
    for (const Option& option : list) text += option.name.Text() + "="s + option.value.Text() + ";";
    return text;
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
    for (const char* row : {"|",
                            " \t\n\v\f\r|",
                            "-HideWindow|hidewindow=;",
                            "a/b /C\xC4 +d|a/b=;c\xC4=;d=;",
                            "-LogFlush- -LogFlush2+x|logflush=-;logflush2=+;x=;",
                            "-A -|a=;",
                            "-A=1 -a=2 -b|a=2;b=;",
                            "-a=1 -a|a=;",
                            "-Path='C:\\a b' -Next|path=C:\\a b;next=;",
                            "-a=\"x'b -c=\"open -d |a=x;b=;c=open -d ;",
                            "-LogFile=C:\\My Logs\\a.txt -X|logfile=C:\\My Logs\\a.txt;x=;",
                            "-X=a -b|x=a;b=;",
                            "-X=a-b \t /c|x=a-b;c=;",
                            "X \n = \t a  b \r\n|x=a  b;",
                            "-X= -b|x=-b;",
                            "-X=|x=;",
                            "- =x --n +|n=;",
                            "=x -y=1|y=1;",
                            "- foo|foo=;",
                            "+R=OpenGL,DirectX|r=OpenGL,DirectX;",
                            "-R=Soft +r=OpenGL +R|r=Soft,OpenGL,;",
                            "-R +r=a /r=b|r=b;"}) {
        OptionList list;
        ParseOptions(list, Cells(row)[0]);
        EXPECT_EQ(TextOf(list), Cells(row)[1]) << row;
    }
    OptionList list;
    ParseOptions(list, "-a\0-b"sv);
    EXPECT_EQ(TextOf(list), "a=;");
    EXPECT_EQ(list.Count(), 1u);
}

TEST(OptionParsing, LaterTextsUpdateTheRecordsOfEarlierOnes) {
    KernelOptions options("", "-nullrender", 1, 2);
    OptionList& list = options.GetOptionList();
    EXPECT_EQ(TextOf(list), "");
    ParseOptions(list, "-Render=Soft -b=1");
    const Option* render = FindOption(list, "RENDER");
    ParseOptions(list, "-c +Render=OpenGL,DirectX");

    EXPECT_EQ(FindOption(list, "render"), render);
    EXPECT_EQ(FindOption(list, "rende"), nullptr);
    EXPECT_EQ(TextOf(list), "render=Soft,OpenGL,DirectX;b=1;c=;");
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
    for (const auto& [texts, whenFalse, whenTrue] : Table<std::vector<const char*>, bool, bool>{
             {{"-f", "+f", "-f=yes", "-f=one"}, true, false},
             {{"-f-", "-f=off", "-f=False", "-f=-x"}, false, false},
             {{"-f+", "-f=oN", "-f=TRUE", "-f=+x"}, true, true}}) {
        for (const char* text : texts) {
            SCOPED_TRACE(text);
            OptionList list;
            ParseOptions(list, text);
            bool out = false;
            EXPECT_TRUE(GetOptionBool(list, "F", out, false));
            EXPECT_EQ(out, whenFalse);
            EXPECT_TRUE(GetOptionBool(list, "f", out, true));
            EXPECT_EQ(out, whenTrue);
        }
    }
}

TEST(OptionLookup, IntegersAreTheNumberAtTheStart) {
    for (const char* row : {"-n=12abc|12", "-n|0", "-n=abc|0", "-n=' \t-7'|-7", "-n=+8|8",
                            "-n='+-8'|0", "-n=2147483648|2147483647", "-n=-2147483648|-2147483648",
                            "-n=-99999999999999999999999|-2147483648"}) {
        OptionList list;
        ParseOptions(list, Cells(row)[0]);
        int out = -1;
        EXPECT_TRUE(GetOptionInt(list, "N", out, 5));
        EXPECT_EQ(std::to_string(out), Cells(row)[1]) << row;
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
    for (const char* empty : {"-v=,a", "-v=' ,a'", "-v"})
        EXPECT_THAT(ItemsOf(empty, ","), IsEmpty());
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
}  // namespace Vorn::Testing
