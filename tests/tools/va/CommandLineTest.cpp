#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using VaCommandLine = VaProgram;

TEST_F(VaCommandLine, WrongUsageEndsWithSevenAndTellsWhatToDo) {
    folder_.Write("a.txt", "n 1");
    ExpectAnswers({
        {"", 7, "va tag check IN"},
        {"frobnicate", 7, "va: there is no command 'frobnicate'; 'va help' lists them"},
        {"help tag frobnicate", 7, "'va help' lists them"},
        {"tag", 7, "needs a command behind it"},
        {"tag frobnicate", 7, "va tag check IN"},
        {"tag check", 7, "IN is missing"},
        {"tag to-text a.txt", 7, "OUT is missing\nusage: va tag to-text [--force] IN OUT\n"},
        {"tag check a.txt b.txt", 7, "'b.txt' is one operand too many"},
        {"tag check --force a.txt", 7, "there is no switch '--force' here"},
        {"tag to-text a.txt a.chump", 7, "let its name end in .txt"},
        {"tag to-binary a.txt b.txt", 7, "let its name end in .chump, .cdp or .cdp2"},
        {"tag to-binary a.txt b.va:b.chump", 7, "names a member"},
        {"--version now", 7, "'now' is one operand too many"},
    });
    EXPECT_EQ(Va("tag").out, "");
    EXPECT_EQ(Names(), "a.txt ");
    folder_.Write("--force", "n 1");
    ExpectAnswers({{"tag get -- --force n", 0, "1\n"}, {"tag get --force n", 7, "no switch"}});
}

TEST_F(VaCommandLine, HelpExplainsEveryCommand) {
    const std::string overview = Va("help").out;
    for (const std::string name : {"to-text", "to-binary", "print", "check", "get"}) {
        const std::string command = "tag " + name;
        EXPECT_THAT(overview, HasSubstr("\n  va " + command));
        ExpectAnswers({{"help " + command, 0, "\nexamples:\n\n  va " + command}});
        EXPECT_EQ(Va(command + " --help").out, Va("help " + command).out);
    }
    EXPECT_EQ(Va("--help").out, overview);
    ExpectAnswers({{"help tag", 0, "tag: asset"},
                   {"tag --help", 0, "tag: asset"},
                   {"frobnicate --help", 7, "there is no command 'frobnicate'"},
                   {"--version", 0, "va " VA_VERSION " (built "}});
    const Outcome full = Va("help >/dev/full");
    EXPECT_EQ(full.exitCode, 2);
    EXPECT_THAT(full.err, HasSubstr("standard output cannot be written"));
}

}  // namespace
}  // namespace Vorn::Testing
