#include <iterator>
#include <sstream>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using VaCommandLine = VaProgram;

std::vector<std::string> Split(const std::string& words) {
    std::istringstream in(words);
    return {std::istream_iterator<std::string>(in), {}};
}

TEST_F(VaCommandLine, WrongUsageEndsWithSevenAndTellsWhatToDo) {
    folder_.Write("a.txt", "n 1");
    const Table<std::string, const char*> rows = {
        {"", "va tag check IN"},
        {"frobnicate", "'va help' lists them"},
        {"help tag frobnicate", "'va help' lists them"},
        {"tag", "needs a command behind it"},
        {"tag frobnicate", "va tag check IN"},
        {"tag check", "IN is missing"},
        {"tag to-text a.txt", "OUT is missing\nusage: va tag to-text [--force] IN OUT\n"},
        {"tag check a.txt b.txt", "'b.txt' is one operand too many"},
        {"tag check --force a.txt", "there is no switch '--force' here"},
        {"tag to-text a.txt a.chump", "let its name end in .txt"},
        {"tag to-binary a.txt b.txt", "let its name end in .chump, .cdp or .cdp2"},
        {"tag to-binary a.txt b.va:b.chump", "names a member"},
        {"--version now", "'now' is one operand too many"},
    };
    for (const auto& [words, told] : rows) {
        SCOPED_TRACE(words);
        const Outcome run = Va(Split(words));
        EXPECT_EQ(run.exitCode, 7);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, testing::StartsWith("va: "));
        EXPECT_THAT(run.err, HasSubstr(told));
    }
    EXPECT_THAT(Names(), ElementsAre("a.txt"));
}

TEST_F(VaCommandLine, HelpExplainsEveryCommand) {
    const Outcome overview = Va({"help"});
    EXPECT_EQ(overview.exitCode, 0);
    for (const std::string name : {"to-text", "to-binary", "print", "check", "get"}) {
        SCOPED_TRACE(name);
        EXPECT_THAT(overview.out, HasSubstr("\n  va tag " + name));
        const Outcome help = Va({"help", "tag", name});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_THAT(help.out, HasSubstr("\nexamples:\n\n  va tag " + name));
        EXPECT_EQ(Va({"tag", name, "--help"}).out, help.out);
    }
    EXPECT_THAT(Va({"help", "tag"}).out, testing::StartsWith("tag: "));
    const Outcome version = Va({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.out, testing::StartsWith("va 1."));
}

TEST_F(VaCommandLine, NamesThatLookLikeSwitchesGoBehindTwoDashes) {
    folder_.Write("--force", "n 1");
    EXPECT_EQ(Va({"tag", "get", "--", "--force", "n"}).out, "1\n");
    EXPECT_EQ(Va({"tag", "get", "--force", "n"}).exitCode, 7);
}

TEST_F(VaCommandLine, OutputThatCannotBeWrittenIsAFailure) {
    const Outcome run = Va({"help"}, "exec >/dev/full;");
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.err, HasSubstr("standard output cannot be written"));
}

}  // namespace
}  // namespace Vorn::Testing
