#include <sstream>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

class VaCompletion : public VaProgram {
protected:
    void SetUp() override {
        folder_.Write("town/config.txt", "username \"Town\"\n");
        folder_.Write("town/textures/fine roof.tga", "roof");
        folder_.Write("town/textures/wall.tga", "wall");
        folder_.Write("town/trains/a.txt", "n 1");
        folder_.Write("Town hall.txt", "no archive");
        folder_.Write("mod.vap", "no patch");
        ASSERT_EQ(Va("create Town.va town").exitCode, 0);
    }

    // The candidates for the last word, without their meanings, a blank behind each.
    [[nodiscard]] std::string Candidates(const std::string& words) const {
        const Outcome outcome = Va("completion words -- " + words);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        std::istringstream lines(outcome.out);
        std::string names;
        for (std::string line; std::getline(lines, line);) {
            names += line.substr(0, line.find('\t')) + " ";
        }
        return names;
    }

    // Types commands with tabs into a shell on a terminal, after `start`. zsh makes the terminal.
    void ExpectTypedCommandsWork(const std::string& shell, const std::string& start) const {
        const TempFolder session;
        const std::string script = session.Write(
            "type",
            "zmodload zsh/zpty\ncd " + folder_.Path() +
                "\nexport PATH=$(dirname " VA "):$PATH TERM=xterm HOME=$PWD\nzpty typed '" + shell +
                "'\nzpty -w typed '" + start +
                "; echo rea\"\"dy'\nzpty -r typed line '*ready*'\n"
                "zpty -w typed $'va lis\tTown.v\ttex\tf\t--so\tna\t >listed\n"
                "va ca\tTown.va:con\t >shown\nva tag ge\tTown.v\tco\t username >got\nexit'\n"
                "while zpty -r typed line; do print -r -- \"$line\"; done\n");
        EXPECT_EQ(
            Shell("timeout 60 zsh -f " + script + " >" + session.Path("said") + " 2>&1 </dev/null"),
            0);
        SCOPED_TRACE(session.Read("said"));
        EXPECT_EQ(folder_.Read("listed"), "textures/fine roof.tga\n");
        EXPECT_EQ(folder_.Read("shown"), "username \"Town\"\n");
        EXPECT_EQ(folder_.Read("got"), "Town\n");
    }
};

TEST_F(VaCompletion, OffersWhatTheTableAndTheFilesAllow) {
    folder_.Write("sub/x.va", "no archive");
    const Table<std::string, std::string> rows = {
        {"ta", "tag "},
        {"tag to-", "to-binary to-text "},
        {"help tag to-b", "to-binary "},
        {"-q lis", "list "},
        {"list --so", "--sort= "},
        {"list --sort=s", "--sort=size --sort=stored "},
        {"list --sort s", "size stored "},
        {"--progress al", "always "},
        {"list ''", "Town.va sub/ town/ "},
        {"list sub/", "sub/x.va "},
        {"list -- --so", ""},
        {"apply Town.va m", "mod.vap "},
        {"extract -C s", "sub/ "},
        {"create New.va Town", "'Town hall.txt' Town.va "},
        {"list Town.va te", "textures/ "},
        {"list --sort size Town.va textures/", "'textures/fine roof.tga' textures/wall.tga "},
        {"list town/ tr", "trains/ "},
        {"list sub/x.va te", ""},
        {"list None.va te", ""},
        {"cat To", "'Town hall.txt' Town.va: "},
        {"tag get Town.va:co", "Town.va:config.txt "},
        {"version x", ""},
        {"frobnicate x", ""},
    };
    for (const auto& [words, expected] : rows) {
        SCOPED_TRACE(words);
        std::string plain = expected;
        std::erase(plain, '\'');
        EXPECT_EQ(Candidates(words), plain);
    }
    EXPECT_EQ(Va("completion words -- lis").out, "list\tlist members\n");
    EXPECT_EQ(Va("completion csh").exitCode, 7);
}

TEST_F(VaCompletion, CompletesWhatIsTypedIntoBash) {
    if (Shell("command -v zsh >/dev/null") != 0) GTEST_SKIP() << "zsh makes the terminal";
    ExpectTypedCommandsWork("bash --norc -i", "source <(va completion bash)");
}

TEST_F(VaCompletion, CompletesWhatIsTypedIntoZsh) {
    if (Shell("command -v zsh >/dev/null") != 0) GTEST_SKIP() << "no zsh";
    ExpectTypedCommandsWork("zsh -f -i",
                            "autoload -U compinit; compinit -u -D; source <(va completion zsh)");
}

TEST_F(VaCompletion, CompletesWhatIsTypedIntoFish) {
    if (Shell("command -v fish >/dev/null") != 0) GTEST_SKIP() << "no fish";
    const TempFolder session;
    const std::string script = session.Write(
        "script", "cd " + folder_.Path() +
                      "\nset -x PATH (dirname " VA
                      ") $PATH\nva completion fish | source\n"
                      "for line in 'va compl' 'va list Town.va te' 'va list --sort=s' "
                      "'va cat Town.va:textures/'\n    complete -C $line\nend\n");
    EXPECT_EQ(Shell("HOME=" + session.Path() + " timeout 60 fish --no-config " + script + " >" +
                    session.Path("said") + " 2>&1 </dev/null"),
              0);
    EXPECT_EQ(session.Read("said"),
              "completion\tmake a shell complete what is typed\n"
              "textures/\n--sort=size\n--sort=stored\n"
              "Town.va:textures/fine roof.tga\nTown.va:textures/wall.tga\n");
}

}  // namespace
}  // namespace Vorn::Testing
