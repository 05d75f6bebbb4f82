// Command lines in files.
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

class ArgumentFiles : public ArchiveProgram {
protected:
    ArgumentFiles() { Write({{"a.txt", Prose(2'000)}, {"b.txt", "b"}}); }
};

// UTF-16 with its mark, the low byte of each unit first or last.
[[nodiscard]] std::string Utf16(std::string_view text, bool lowFirst) {
    std::string units = lowFirst ? "\xFF\xFE" : "\xFE\xFF";
    for (const char c : text) units += lowFirst ? std::string{c, '\0'} : std::string{'\0', c};
    return units;
}

TEST_F(ArgumentFiles, EveryLineRunsWithTheSwitchesBeforeIt) {
    const std::string text = "a x.va a.txt\r\n-k a y.va \"b.txt\"\na x.va b.txt";
    Write({{"narrow", text},
           {"marked", "\xEF\xBB\xBF" + text},
           {"wide", Utf16(text, true)},
           {"swapped", Utf16(text, false)},
           {"outer", "@narrow l x.va\n"}});
    for (const std::string file : {"narrow", "marked", "wide", "swapped", "outer"}) {
        SCOPED_TRACE(file);
        fs::remove("x.va");
        fs::remove("y.va");
        const std::string printed = Do("-c @" + file + " -v l x.va");
        EXPECT_EQ(CountOf("Processed 1 files.", printed), 3U);
        EXPECT_EQ(CountOf("Processed 2 files.", printed), file == "outer" ? 2U : 1U);
        EXPECT_EQ(NamesIn(Unpack("x.va")), (Names{"a.txt", "b.txt"}));
        EXPECT_NE(folder.Read("x.va").find("CFIL"), std::string::npos);
        EXPECT_EQ(NamesIn(Unpack("y.va")), Names{"b.txt"});
    }
}

TEST_F(ArgumentFiles, LinesGoOnAfterOnesThatFailedAndUsageIsShownOnce) {
    Write({{"lines", "\nl\nq x.va a.txt\na x.va none\n@missing a x.va a.txt\na x.va b.txt\n"}});
    const Outcome outcome = Fail("@lines");
    EXPECT_EQ(CountOf("Usage:", outcome.printed), 1U);
    EXPECT_EQ(CountOf("- Warning, can't open argument file [missing]\n", outcome.printed), 1U);
    EXPECT_EQ(CountOf("command 'a x.va none\n'\n", outcome.printed), 1U);
    EXPECT_EQ(NamesIn(Unpack("x.va")), (Names{"a.txt", "b.txt"}));
}

TEST_F(ArgumentFiles, AFileThatNamesItselfEndsWithAWarning) {
    const std::string adds = "a x.va a.txt\n";
    Write({{"self", "@self l x.va\n" + adds},
           {"d/one", "@two l x.va\n"},
           {"two", "@three\n"},
           {"three", "@./d/../d/one l x.va\n" + adds}});
    fs::create_symlink("self", "link");
    const Table<std::string, std::string> rows = {
        {"@self l x.va", "self"}, {"@link l x.va", "self"}, {"@d/one l x.va", "./d/../d/one"}};
    for (const auto& [words, name] : rows) {
        SCOPED_TRACE(words);
        fs::remove("x.va");
        const Outcome outcome = Fail(words);
        EXPECT_EQ(CountOf("- Warning, can't open argument file ", outcome.printed), 1U);
        EXPECT_THAT(outcome.printed, HasSubstr("can't open argument file [" + name + "]\n"));
        EXPECT_EQ(NamesIn(Unpack("x.va")), Names{"a.txt"});
    }
}

TEST_F(ArgumentFiles, PrefixesStayForLaterLinesAndLongLinesAreReported) {
    const std::string blanks(1'022 - 13, ' ');
    Write({{"lines", "a x.va *.txt\n-n e x.va a.txt\ne x.va b.txt\n"},
           {"fits", Utf16("l " + blanks + "x.va a.txt\n", false)},
           {"long", "l " + blanks + "x.va a.txt b.txt\n"},
           {"wide", Utf16("l " + blanks + "x.va a.txt b.txt\n", false)}});
    Do("@lines l x.va");
    EXPECT_EQ(folder.Read("x/a.txt"), Prose(2'000));
    EXPECT_EQ(folder.Read("x/b.txt"), "b");
    Do("@fits l x.va");
    for (const std::string file : {"long", "wide"}) {
        const Outcome outcome = Fail("@" + file + " l x.va");
        EXPECT_THAT(outcome.problems, HasSubstr("a line of " + file + " was cut: "));
    }
}

}  // namespace
}  // namespace Vorn::Testing
