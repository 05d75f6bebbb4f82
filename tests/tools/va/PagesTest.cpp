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

}  // namespace
}  // namespace Vorn::Testing
