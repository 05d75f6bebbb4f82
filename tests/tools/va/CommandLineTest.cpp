#include <sstream>
#include <vector>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using VaCommandLine = VaProgram;

TEST_F(VaCommandLine, WrongUsageEndsWithSevenAndSaysWhatToDo) {
    folder_.Write("a.txt", "n 1");
    ExpectAnswers({
        {"", 7, "va: no command given\n"},
        {"", 7, "asset descriptions\n  tag to-text"},
        {"frobnicate", 7, "va: there is no command 'frobnicate'; run 'va help' for a list"},
        {"tga check", 7, "did you mean tag?"},
        {"hepl", 7, "did you mean help?"},
        {"help tag frobnicate", 7,
         "'va tag' has no command 'frobnicate'; run 'va help tag' for a list"},
        {"tag frobnicate --help", 7, "'va tag' has no command 'frobnicate'"},
        {"help frobnicate", 7, "run 'va help' for a list"},
        {"tag", 7, "needs one of its commands:\n  va tag to-text"},
        {"tag frobnicate", 7, "va tag check"},
        {"tag chek a.txt", 7, "did you mean check?"},
        {"tag check", 7, "IN is missing"},
        {"tag to-text a.txt", 7, "OUT is missing: a file, or '-'"},
        {"tag to-text a.txt b.txt c.txt", 7, "several inputs need --out-dir"},
        {"tag check --losses=maybe a.txt", 7, "one of yes, no, not 'maybe'"},
        {"tag check --ignore=number-rang a.txt", 7, "number-range"},
        {"tag get a.txt", 7, "PATH is missing"},
        {"tag check --force a.txt", 7, "'va tag check' has no option --force"},
        {"tag check --forze a.txt", 7, "did you mean --force?"},
        {"tag check --forc a.txt", 7, "did you mean --force?"},
        {"tag check -fQ a.txt", 7, "there is no option '-Q'"},
        {"tag check --force=yes a.txt", 7, "--force takes no value"},
        {"tag check --progress", 7, "--progress needs a value: WHEN"},
        {"tag check --progress=now a.txt", 7, "one of auto, always, never, json, not 'now'"},
        {"tag to-text a.txt a.chump", 7, "its name must end in .txt"},
        {"tag to-binary a.txt b.txt", 7, "its name must end in .chump, .cdp or .cdp2"},
        {"tag to-binary a.txt b.va:b.chump", 7, "names a member"},
        {"version now", 7, "'now' is one operand too many"},
        {"\"$(printf 'tag\\033[2J')\"", 7, "'tag\\x1b[2J'"},
    });
    EXPECT_EQ(Va("tag").out, "");
    EXPECT_EQ(Names(), "a.txt ");
}

TEST_F(VaCommandLine, OptionsStandAnywhereInEveryForm) {
    folder_.Write("--force", "n 1");
    folder_.Write("a.txt", "n 1");
    folder_.Write("b.chump", "old");
    ExpectAnswers({
        {"tag get -- --force n", 0, "1\n"},
        {"tag get --force n", 7, "has no option --force"},
        {"tag to-binary a.txt b.chump", 2, "exists"},
        {"-f tag to-binary a.txt b.chump", 0, ""},
        {"tag -fqv --progress never to-binary a.txt b.chump", 0, "a.txt -> b.chump\n"},
        {"tag to-binary a.txt b.chump --force --progress=json", 0, ""},
        {"-q --version", 0, "1."},
        {"list --version", 0, "1."},
        {"diff -f --version -q", 0, "1."},
        {"frobnicate --version", 7, "no command 'frobnicate'"},
        {"--version", 0, "va 1."},
        {"--version tag", 7, "needs one of its commands"},
    });
    EXPECT_THAT(Va("version -q").out, testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(VaCommandLine, HelpExplainsEveryCommandIn80Columns) {
    const std::string overview = Va("help").out;
    EXPECT_EQ(Va("--help").out, overview);
    EXPECT_EQ(Va("-h").out, overview);
    std::vector<std::string> commands;
    std::istringstream lines(overview);
    for (std::string line; std::getline(lines, line);) {
        const bool isCommand = line.starts_with("  ") && line.size() > 18;
        if (isCommand) commands.push_back(line.substr(2, line.find("  ", 2) - 2));
    }
    EXPECT_GE(commands.size(), 7u);
    for (const std::string& command : commands) {
        SCOPED_TRACE(command);
        const std::string help = Va("help " + command).out;
        EXPECT_THAT(help, testing::StartsWith("usage: va " + command));
        EXPECT_THAT(help, HasSubstr("\nexamples:\n\n  va "));
        EXPECT_EQ(Va(command + " --help").out, help);
        std::istringstream text(help + overview);
        for (std::string line; std::getline(text, line);) EXPECT_LE(line.size(), 80u) << line;
    }
    ExpectAnswers({{"help tag", 0, "va tag to-text"},
                   {"tag --help", 0, "va tag to-text"},
                   {"frobnicate --help", 7, "there is no command 'frobnicate'"}});
    const Outcome full = Va("help >/dev/full");
    EXPECT_EQ(full.exitCode, 50);
    EXPECT_THAT(full.err, HasSubstr("standard output cannot be written"));
}

TEST_F(VaCommandLine, QuietLeavesOutErrorsWhenItIsGivenTwice) {
    EXPECT_THAT(Va("-q tag get nowhere.txt n").err, HasSubstr("there is no file"));
    const Outcome silent = Va("-qq tag get nowhere.txt n");
    EXPECT_EQ(silent.exitCode, 9);
    EXPECT_EQ(silent.err, "");
}

TEST_F(VaCommandLine, ManPagesOfAllCommandsAreWellFormed) {
    if (Shell("command -v mandoc >/dev/null") != 0) GTEST_SKIP() << "no mandoc";
    std::istringstream overview(Va("help").out);
    std::vector<std::string> commands = {""};
    for (std::string line; std::getline(overview, line);) {
        if (!line.starts_with("  ")) continue;
        const std::string words = line.substr(2, 16);
        commands.push_back(words.substr(0, words.find_last_not_of(' ') + 1));
    }
    ASSERT_GT(commands.size(), 25u);
    for (const std::string& words : commands) {
        SCOPED_TRACE(words);
        const std::string page = Va("help --man " + words).out;
        EXPECT_THAT(page, testing::HasSubstr("\n.SH NAME\nva"));
        const std::string file = folder_.Write("page", page);
        // Pages have no date, so that each build gives the same ones.
        (void)Shell("mandoc -Tlint <" + file + " | grep -v 'missing date' >" +
                    folder_.Path("lint"));
        EXPECT_EQ(folder_.Read("lint"), "");
        EXPECT_EQ(Shell("mandoc -Tascii " + file + " | sed 's/.\\x08//g' >" + folder_.Path("text")),
                  0);
        std::istringstream help(Va("help " + words).out);
        const std::string text = folder_.Read("text");
        for (std::string line; std::getline(help, line);) {
            const std::size_t option = line.find("--");
            if (option > 6 || !line.starts_with("  ")) continue;
            const std::string name = line.substr(option, line.find_first_of(" =", option) - option);
            EXPECT_THAT(text, testing::HasSubstr(name));
        }
    }
    EXPECT_EQ(Va("help --man tag").exitCode, 7);
}

}  // namespace
}  // namespace Vorn::Testing
