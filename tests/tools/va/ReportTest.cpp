#include <algorithm>
#include <cmath>
#include <filesystem>
#include <regex>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

// Text that no codec makes much smaller.
std::string Noise(unsigned seed, std::size_t size) {
    std::string text;
    for (std::uint32_t state = seed; text.size() < size;) {
        state = state * 1664525 + 1013904223;
        text += static_cast<char>(state >> 24);
    }
    return text;
}

struct Tile {
    std::string title;
    double x, y, width, height;

    [[nodiscard]] double Area() const { return width * height; }
};

std::vector<Tile> TilesOf(const std::string& page) {
    const std::regex pattern(
        R"re(<title>([^<]*)</title><rect class="\w+" x="([\d.]+)" y="([\d.]+)" width="([\d.]+)" height="([\d.]+)"/>)re");
    std::vector<Tile> tiles;
    for (std::sregex_iterator at(page.begin(), page.end(), pattern), end; at != end; ++at) {
        const auto number = [&](std::size_t group) { return std::stod((*at)[group]); };
        tiles.push_back({(*at)[1], number(2), number(3), number(4), number(5)});
    }
    return tiles;
}

double Shared(double a, double aSize, double b, double bSize) {
    return std::min(a + aSize, b + bSize) - std::max(a, b);
}

class VaReport : public VaProgram {
protected:
    void SetUp() override {
        const std::string like = Noise(1, 20000);
        folder_.Write("old/part.txt", like);
        folder_.Write("old/wholly.bin", Noise(2, 9000));
        folder_.Write("old/gone.bin", Noise(3, 7000));
        folder_.Write("old/same.bin", Noise(4, 500));
        folder_.Write("new/part.txt", like.substr(0, 9000) + "more" + like.substr(9000));
        folder_.Write("new/wholly.bin", Noise(5, 9000));
        folder_.Write("new/moved/here.bin", Noise(3, 7000));
        folder_.Write("new/a&b's.bin", Noise(6, 5000));
        folder_.Write("new/same.bin", Noise(4, 500));
        for (const std::string side : {"old", "new"}) {
            ASSERT_EQ(std::system(("cd " + folder_.Path(side) + " && " VARCHIVE " -r -k a ../" +
                                   side + ".va '*' >/dev/null")
                                      .c_str()),
                      0);
            std::filesystem::remove_all(folder_.Path(side));
        }
        ASSERT_EQ(std::system(("cd " + folder_.Path() +
                               " && " VACONVERTER " patchdiff old.va new.va . >/dev/null")
                                  .c_str()),
                  0);
    }

    [[nodiscard]] std::uint64_t PatchBytes() const {
        return std::filesystem::file_size(folder_.Path("old-diff.va"));
    }
};

TEST_F(VaReport, GivesEveryByteOfThePatchAReason) {
    const Outcome table = Va("report old-diff.va");
    EXPECT_EQ(table.exitCode, 0) << table.err;
    std::istringstream lines(table.out);
    std::string line;
    std::getline(lines, line);
    std::uint64_t sum = 0;
    std::map<std::string, int> members;
    const std::regex row(R"( *(\d+) +\d+ %  (.*?) *(\d*))");
    while (std::getline(lines, line)) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, row)) << line;
        sum += std::stoull(match[1]);
        members[match[2]] = match[3].length() > 0 ? std::stoi(match[3]) : 0;
    }
    EXPECT_EQ(sum, PatchBytes());
    folder_.Write("cut.va", folder_.Read("old-diff.va").substr(0, 10000));
    EXPECT_EQ(members, (std::map<std::string, int>{
                           {"new content", 1},
                           {"changed almost wholly (re-encoded?)", 1},
                           {"moved or copied from another member", 1},
                           {"changed in part", 1},
                           {"lists of names and digests, headers, index", 0},
                       }));
    ExpectAnswers({
        {"report --json old-diff.va", 0,
         R"({"type":"member","name":"moved/here.bin","reason":"moved","bytes":)"},
        {"report -v old-diff.va", 0, "moved moved/here.bin, "},
        {"report old.va", 2, "old.va: is an archive and not a patch"},
        {"report cut.va", 2, "cut.va: damaged or cut off (10,000 of "},
        {"report nowhere.va", 9, "nowhere.va"},
        {"report -o - --json old-diff.va", 7, "standard output"},
    });
}

TEST_F(VaReport, ThePageShowsBytesAsAreas) {
    const Outcome made = Va("report old-diff.va -o why.html");
    EXPECT_EQ(made.exitCode, 0) << made.err;
    const std::string page = folder_.Read("why.html");
    EXPECT_EQ(Va("report old-diff.va -o -").out, page);
    EXPECT_EQ(page.find("<script"), std::string::npos);
    EXPECT_EQ(page.find("http:"), std::string::npos);
    EXPECT_EQ(page.find("https:"), std::string::npos);
    EXPECT_NE(page.find("a&amp;b's.bin: 5"), std::string::npos);

    const std::vector<Tile> tiles = TilesOf(page);
    ASSERT_EQ(tiles.size(), 5u);
    double all = 0;
    for (const Tile& tile : tiles) all += tile.Area();
    EXPECT_NEAR(all, 1200 * 640, 1200 * 640 * 0.001);
    for (const Tile& a : tiles) {
        for (const Tile& b : tiles) {
            const double across = Shared(a.x, a.width, b.x, b.width);
            const double down = Shared(a.y, a.height, b.y, b.height);
            EXPECT_TRUE(&a == &b || across < 0.1 || down < 0.1) << a.title << " and " << b.title;
        }
        if (a.title.starts_with("moved/here.bin")) {
            EXPECT_NEAR(a.Area() / all, 7000.0 / static_cast<double>(PatchBytes()), 0.002);
        }
    }
}

TEST_F(VaReport, ReplacesNoFileUnasked) {
    folder_.Write("why.html", "mine");
    const std::string patch = folder_.Read("old-diff.va");
    ExpectAnswers({{"report old-diff.va -f -o ./old-diff.va", 2, "is one of the inputs"}});
    EXPECT_TRUE(folder_.Read("old-diff.va") == patch);
    ExpectAnswers({{"report old-diff.va -o why.html", 2, "va: 'why.html' exists; -f replaces it\n"},
                   {"report old-diff.va -fn -o why.html", 0, "would write why.html: "}});
    EXPECT_EQ(folder_.Read("why.html"), "mine");
    ExpectAnswers({{"report old-diff.va -f -o why.html", 0, "browser"}});
    EXPECT_TRUE(folder_.Read("why.html").starts_with("<!DOCTYPE html>"));
}

}  // namespace
}  // namespace Vorn::Testing
