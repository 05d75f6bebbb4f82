#include <filesystem>
#include <fstream>
#include <regex>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

struct Example {
    std::string command;
    std::string answer;
};

// Examples stand in blocks of four blanks: commands after "$ ", and below each what it prints on
// both streams. With a heading, those of its section.
std::vector<Example> ExamplesOf(const std::string& path, const std::string& heading = {}) {
    std::ifstream page(path);
    std::vector<Example> examples;
    bool wanted = heading.empty();
    for (std::string line; std::getline(page, line);) {
        if (!heading.empty() && line.starts_with("## ")) wanted = line == heading;
        if (!wanted) continue;
        if (line.starts_with("    $ ")) {
            examples.push_back({line.substr(6), ""});
        } else if (line.starts_with("    ") && !examples.empty()) {
            examples.back().answer += line.substr(4) + "\n";
        }
    }
    return examples;
}

// How long something took is another number on every machine.
std::string WithoutTimes(const std::string& text) {
    return std::regex_replace(text, std::regex(R"(\d+\.\d s\n)"), "T s\n");
}

class VaPages : public VaProgram {
protected:
    // One shell runs all, as a reader would.
    void RunExamples(const std::vector<Example>& examples) {
        const TempFolder session;
        const std::string mark = "== end of answer ==\n";
        std::string script = "cd " + folder_.Path() + "\nPATH=$(dirname " VA "):$PATH\nexec 2>&1\n";
        for (const auto& [command, answer] : examples) {
            if (command == "cat config.txt") folder_.Write("config.txt", answer);
            script += command + "\nprintf '" + mark.substr(0, mark.size() - 1) + "\\n'\n";
        }
        session.Write("script", script);
        ASSERT_EQ(
            Shell("bash " + session.Path("script") + " >" + session.Path("said") + " </dev/null"),
            0);
        std::string said = session.Read("said");
        for (const auto& [command, answer] : examples) {
            SCOPED_TRACE(command);
            const std::size_t end = said.find(mark);
            ASSERT_NE(end, std::string::npos);
            EXPECT_EQ(WithoutTimes(said.substr(0, end)), WithoutTimes(answer));
            said.erase(0, end + mark.size());
        }
    }
};

// The texts of all sources of va and the rooms below it, with what the compiler joins joined.
std::string TextsOfSources() {
    std::string texts;
    const std::regex joint(R"("\s*\n\s*")");
    for (const char* room : {"tools/va", "library", "patch", "archive"}) {
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(std::string(PAGES "/") + room)) {
            if (entry.path().extension() != ".cpp") continue;
            std::ifstream file(entry.path());
            std::stringstream source;
            source << file.rdbuf();
            texts += std::regex_replace(std::regex_replace(source.str(), joint, ""),
                                        std::regex(R"(\\")"), "\"");
        }
    }
    return texts;
}

TEST_F(VaPages, EveryMessageOfThePageIsOneOfTheProgram) {
    const std::string texts = TextsOfSources();
    std::ifstream page(PAGES "/docs/trouble.md");
    int messages = 0;
    for (std::string line; std::getline(page, line);) {
        if (!line.starts_with("| `")) continue;
        ++messages;
        const std::string message = line.substr(3, line.find("` |") - 3);
        const std::regex gap(R"( ?\.\.\. ?)");
        for (std::sregex_token_iterator piece(message.begin(), message.end(), gap, -1), end;
             piece != end; ++piece) {
            const std::string text = *piece;
            if (text.size() < 4) continue;
            EXPECT_NE(texts.find(text), std::string::npos) << text;
        }
    }
    EXPECT_GT(messages, 80);
}

TEST_F(VaPages, TheFrontPageAnswersAsShown) {
    const auto examples = ExamplesOf(PAGES "/README.md", "## Asset descriptions: `va tag`");
    ASSERT_EQ(examples.size(), 10u);
    RunExamples(examples);
}

TEST_F(VaPages, TheFirstPatchIsMadeAsShown) {
    const auto examples = ExamplesOf(PAGES "/docs/first-patch.md");
    ASSERT_GE(examples.size(), 10u);
    RunExamples(examples);
}

// The files that the examples of help and pages name.
class VaExamples : public VaProgram {
protected:
    void SetUp() override {
        folder_.Write("town/config.txt",
                      "username \"Town\"\nmass 7\nbuilt 1990\n"
                      "thumbnails\n{\n  0\n  {\n    image \"a.jpg\"\n  }\n}\n"
                      "km/h\n{\n  limit 80\n}\n"
                      "engine\n{\n  power 7\n}\n"
                      "mesh-table\n{\n  default\n  {\n    mesh \"a.im\"\n  }\n}\n");
        folder_.Write("town/textures/wall.tga", Noise(3000));
        folder_.Write("town/textures/fine/roof.tga", Noise(2000));
        folder_.Write("town/trains/config.txt", "kuid <kuid:1:2>\n");
        folder_.Write("town/house/house.im", "LEC2"s + std::string(60, '\0'));
        folder_.Write("my-edits/config.txt", "username \"Mine\"\n");
        ASSERT_EQ(InShell("va tag to-binary town/config.txt town/trains/engine.chump && "
                          "cp -r town town-work && echo more >>town-work/textures/wall.tga && "
                          "cp town-work/textures/wall.tga town-work/textures/copy.tga"),
                  0);
        ASSERT_EQ(
            InShell("cp town/config.txt . && cp town/house/house.im . && cp -r town assets && rm "
                    "assets/trains/engine.chump && "
                    "mkdir configs && cp config.txt configs && cp config.txt a.txt && "
                    "cp config.txt b.txt && cp -r town work && "
                    "va tag to-binary config.txt config.chump && "
                    "for f in Town Town-1.0 Old Game; do va create $f.va town; done && "
                    "for f in Town-1.1 New; do va create $f.va town-work; done && "
                    "va create mods.va my-edits && va sums Town.va >Town.sums && "
                    "mkdir backup && cp Town.va backup && va diff Town-1.0.va Town-1.1.va && "
                    "va diff --compact Town-1.0.va Town-1.1.va && "
                    "for f in town mod; do cp Town-1.0-Town-1.1.patch.va $f-1.1.patch.va; done"),
            0);
    }

    [[nodiscard]] int InShell(const std::string& command) const {
        const TempFolder session;
        session.Write("script",
                      "cd " + folder_.Path() + "\nPATH=$(dirname " VA "):$PATH\n" + command);
        const int code = Shell("bash -e " + session.Path("script") + " >" + session.Path("said") +
                               " 2>&1 </dev/null");
        said_ = session.Read("said");
        return code;
    }

    // Runs a command among the files, of which `made`, which it is to make, are not there.
    void ExpectWorks(const std::string& command, const std::string& made) const {
        SCOPED_TRACE(command);
        const int code = InShell("rm -rf ../stage && cp -r . ../stage && cd ../stage && rm -rf " +
                                 made + "\n" + command);
        EXPECT_TRUE(code == 0 || code == 1) << said_;
        EXPECT_EQ(InShell("rm -rf ../stage"), 0);
    }

    // The lines of a page that a reader may type.
    [[nodiscard]] static std::vector<std::string> CommandsOf(const std::string& path) {
        std::ifstream page(path);
        std::vector<std::string> commands;
        for (std::string line; std::getline(page, line);) {
            const std::size_t start = line.find_first_not_of(' ');
            if (start != line.npos && start >= 4 && line.substr(start).starts_with("va ")) {
                commands.push_back(line.substr(start));
            }
        }
        return commands;
    }

    mutable std::string said_;
};

// What the examples of a command make, and what is therefore not to be there before.
const std::map<std::string, std::string> kMade = {
    {"create", "Town.va"},
    {"diff", "Town-1.0-* town-1.1.patch.va"},
    {"expand", "Town-1.0-Town-1.1.patch.va town-1.1.patch.va"},
    {"extract", "config.txt house textures trains out"},
    {"sums", "town"},
    {"tag to-binary", "config.chump"},
    {"tag to-text", "config.txt"},
};

TEST_F(VaExamples, OfHelpWorkAsWritten) {
    ASSERT_EQ(InShell("va help | sed -n 's/^  \\(.\\{16\\}\\).*/\\1/p'"), 0);
    std::istringstream commands(said_);
    int ran = 0;
    for (std::string words; std::getline(commands, words);) {
        words.erase(words.find_last_not_of(' ') + 1);
        ASSERT_EQ(InShell("va help " + words), 0);
        std::istringstream help(said_.substr(said_.find("\nexamples:")));
        for (std::string line; std::getline(help, line);) {
            if (!line.starts_with("  va ")) continue;
            const auto made = kMade.find(words);
            ExpectWorks(line.substr(2), made == kMade.end() ? "out" : made->second);
            ++ran;
        }
    }
    EXPECT_GT(ran, 40);
}

TEST_F(VaExamples, OfPagesWorkAsWritten) {
    const bool hasJq = InShell("jq --version") == 0;
    for (const char* page : {"/docs/players.md", "/docs/ci.md"}) {
        const std::vector<std::string> commands = CommandsOf(std::string(PAGES) + page);
        EXPECT_GE(commands.size(), 3U);
        std::string job = "OLD=1.0 NEW=1.1\nrm -f Town-1.1.va Town-1.0-*\n";
        for (const std::string& command : commands) {
            if (hasJq || command.find("| jq") == command.npos) job += command + "\n";
        }
        SCOPED_TRACE(page);
        EXPECT_EQ(InShell(job), 0) << said_;
    }
    EXPECT_TRUE(folder_.Has("Town-1.0-1.1.patch.va"));
    EXPECT_TRUE(folder_.Has("report.html"));
}

}  // namespace
}  // namespace Vorn::Testing
