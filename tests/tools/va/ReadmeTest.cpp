#include <fstream>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

struct Example {
    std::string command;
    std::string answer;
};

// The commands of a section of the front page: lines after four blanks, "$ " before a command.
std::vector<Example> ExamplesBelow(const std::string& heading) {
    std::ifstream page(README);
    std::vector<Example> examples;
    std::string line;
    while (std::getline(page, line) && line != heading) continue;
    while (std::getline(page, line) && !line.starts_with("## ")) {
        if (line.starts_with("    $ ")) {
            examples.push_back({line.substr(6), ""});
        } else if (line.starts_with("    ") && !examples.empty()) {
            examples.back().answer += line.substr(4) + "\n";
        }
    }
    return examples;
}

TEST(VaReadme, TheExamplesAnswerAsShown) {
    const TempFolder folder;
    const std::string path =
        "cd " + folder.Path() + " && PATH=$(dirname " VA "):$(dirname " VA_DEMO "):$PATH && ";
    const std::vector<Example> examples = ExamplesBelow("## Asset descriptions: `va tag`");
    ASSERT_EQ(examples.size(), 8u);
    for (const auto& [command, answer] : examples) {
        SCOPED_TRACE(command);
        if (command == "cat config.txt") folder.Write("config.txt", answer);
        std::ignore = std::system((path + "(" + command + ") >answer 2>&1").c_str());
        EXPECT_EQ(folder.Read("answer"), answer);
        fs::remove(folder.Path("answer"));
    }
}

}  // namespace
}  // namespace Vorn::Testing
