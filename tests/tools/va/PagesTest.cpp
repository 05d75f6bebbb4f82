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
    void RunExamples(const std::vector<Example>& examples) {
        const TempFolder said;
        const std::string start = "cd " + folder_.Path() + "; PATH=$(dirname " VA "):$PATH; (";
        for (const auto& [command, answer] : examples) {
            SCOPED_TRACE(command);
            if (command == "cat config.txt") folder_.Write("config.txt", answer);
            (void)!std::system((start + command + ") >" + said.Path("all") + " 2>&1").c_str());
            EXPECT_EQ(WithoutTimes(said.Read("all")), WithoutTimes(answer));
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
