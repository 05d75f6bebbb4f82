#include <fstream>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using VaReadme = VaProgram;

// Commands of the front page stand behind "    $ ", their answers below behind four blanks.
TEST_F(VaReadme, TheExamplesAnswerAsShown) {
    std::ifstream page(README);
    std::string line;
    while (std::getline(page, line) && line != "## Asset descriptions: `va tag`") continue;
    std::vector<std::pair<std::string, std::string>> examples;
    while (std::getline(page, line) && !line.starts_with("## ")) {
        if (line.starts_with("    $ ")) {
            examples.emplace_back(line.substr(6), "");
        } else if (line.starts_with("    ")) {
            examples.back().second += line.substr(4) + "\n";
        }
    }
    ASSERT_EQ(examples.size(), 8u);
    const TempFolder said;
    const std::string path = "cd " + folder_.Path() + "; PATH=$(dirname " VA "):$PATH;";
    for (const auto& [command, answer] : examples) {
        SCOPED_TRACE(command);
        if (command == "cat config.txt") folder_.Write("config.txt", answer);
        std::ignore =
            std::system((path + "(" + command + ") >" + said.Path("all") + " 2>&1").c_str());
        EXPECT_EQ(said.Read("all"), answer);
    }
}

}  // namespace
}  // namespace Vorn::Testing
