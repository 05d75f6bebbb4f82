// Option texts as a person writes them, and the lookups on what was read.
#include "services/OptionList.h"

#include "services/KernelOptions.h"
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
    for (const auto& [text, options] : Table<const char*, const char*>{
             {"", ""},
             {" \t\n\v\f\r", ""},
             {"-HideWindow a/b /C\xC4 +d", "hidewindow=;a/b=;c\xC4=;d=;"},
             {"-LogFlush- -LogFlush2+x -A -", "logflush=-;logflush2=+;x=;a=;"},
             {"-A=1 -a=2 -b=1 -B", "a=2;b=;"},
             {"-Path='C:\\a b' -Next", "path=C:\\a b;next=;"},
             {"-a=\"x'b -c=\"open -d ", "a=x;b=;c=open -d ;"},
             {"-LogFile=C:\\My Logs\\a.txt -X", "logfile=C:\\My Logs\\a.txt;x=;"},
             {"-X=a -b /Y=a-b \t /c", "x=a;b=;y=a-b;c=;"},
             {"X \n = \t a  b \r\n", "x=a  b;"},
             {"-X= -b", "x=-b;"},
             {"-X=", "x=;"},
             {"- =x --n +", "n=;"},
             {"=x -y=1 - foo", "y=1;foo=;"},
             {"+R=A,B -S=Soft +s=C +S", "r=A,B;s=Soft,C,;"},
             {"-R +r=a /r=b", "r=b;"},
         }) {
        OptionList list;
        ParseOptions(list, text);
        EXPECT_EQ(TextOf(list), options) << text;
    }
    KernelOptions options("", "-nullrender", 1, 2);
    OptionList& list = options.GetOptionList();
    EXPECT_EQ(TextOf(list), "") << "the default text is not parsed";
    ParseOptions(list, "-Render=Soft -b=1\0-z"sv);
    const Option* render = FindOption(list, "RENDER");
    ParseOptions(list, "-c +Render=OpenGL,DirectX");
    EXPECT_EQ(FindOption(list, "render"), render);
    EXPECT_EQ(FindOption(list, "rende"), nullptr);
    EXPECT_EQ(TextOf(list), "render=Soft,OpenGL,DirectX;b=1;c=;");
}

// Looking each name up in the list itself would take many minutes.
TEST(OptionParsing, TakesHundredsOfThousandsOfOptionsAndItems) {
    constexpr std::size_t kCount = 300'000;
    std::string text;
    for (std::size_t i = 0; i < kCount; ++i) text += "-n" + std::to_string(i) + " ";
    OptionList list;
    ParseOptions(list, text);
    EXPECT_EQ(list.Count(), kCount);
    EXPECT_NE(FindOption(list, "N299999"), nullptr);

    std::set<std::uint32_t> capacities;
    for (int i = 0; i < 10'000; ++i) {
        ParseOptions(list, "+n0=v");
        capacities.insert(list.begin()->value.Capacity());
    }
    EXPECT_EQ(list.begin()->value.Length(), 19'999u);
    EXPECT_LE(capacities.size(), 20u) << "the value moves a few times only";
}

TEST(OptionLookup, BooleansFlipTheDefaultUnlessTheySayWhich) {
    // The text, and what it makes of the defaults false and true.
    for (const auto& [text, ofFalse, ofTrue] : Table<const char*, bool, bool>{
             {"-f", true, false},
             {"+f", true, false},
             {"-f=yes", true, false},
             {"-f-", false, false},
             {"-f=off", false, false},
             {"-f=False", false, false},
             {"-f=-x", false, false},
             {"-f+", true, true},
             {"-f=oN", true, true},
             {"-f=TRUE", true, true},
             {"-f=+x", true, true},
             {"-g", false, true},
         }) {
        OptionList list;
        ParseOptions(list, text);
        for (const bool fallback : {false, true}) {
            bool out = !fallback;
            EXPECT_EQ(GetOptionBool(list, "F", out, fallback), text != "-g"sv);
            EXPECT_EQ(out, fallback ? ofTrue : ofFalse) << text;
        }
    }
}

TEST(OptionLookup, NumbersStandAtTheStartAndTextsAreTaken) {
    for (const auto& [text, number] : Table<const char*, int>{
             {"-n=12abc", 12},
             {"-n", 0},
             {"-n=abc", 0},
             {"-n=' \t-7'", -7},
             {"-n=+8", 8},
             {"-n='+-8'", 0},
             {"-n=2147483648", 2147483647},
             {"-n=-2147483648", std::numeric_limits<int>::min()},
             {"-n=-99999999999999999999999", std::numeric_limits<int>::min()},
             {"-m=7", 5},
         }) {
        OptionList list;
        ParseOptions(list, text);
        int out = -1;
        EXPECT_EQ(GetOptionInt(list, "N", out, 5), text != "-m=7"sv);
        EXPECT_EQ(out, number) << text;
    }
    OptionList list;
    ParseOptions(list, "-There=text");
    String text;
    EXPECT_FALSE(GetOptionString(list, "gone", text, "fallback"));
    EXPECT_STREQ(text.Text(), "fallback");
    EXPECT_TRUE(GetOptionString(list, "THERE", text, "fallback"));
    EXPECT_STREQ(text.Text(), "text");
}

TEST(OptionItems, EndAtSeparatorsAndWithTheirValue) {
    EXPECT_THAT(ItemsOf("-v=File, Err ,Warn", ","), ElementsAre("File", "Err", "Warn"));
    EXPECT_THAT(ItemsOf("-v=a,;, b c;d ", ",;"), ElementsAre("a", "b c", "d"));
    EXPECT_THAT(ItemsOf("-v=a,b", ""), ElementsAre("a,b"));
    for (const char* empty : {"-v=,a", "-v=' ,a'", "-v"}) {
        EXPECT_THAT(ItemsOf(empty, ","), IsEmpty());
    }

    OptionList list;
    ParseOptions(list, "-v=long-value,b");
    String item("untouched");
    EXPECT_FALSE(NextOptionValue(list, "v", item)) << "not begun";
    EXPECT_FALSE(NextOptionValue(list, "gone", item));
    EXPECT_STREQ(item.Text(), "untouched");
    BeginOptionValues(*FindOption(list, "v"), ",");
    EXPECT_TRUE(NextOptionValue(list, "v", item));
    ParseOptions(list, "-v=x");
    EXPECT_FALSE(NextOptionValue(list, "v", item)) << "the value has changed";
}

}  // namespace
}  // namespace Vorn::Testing
