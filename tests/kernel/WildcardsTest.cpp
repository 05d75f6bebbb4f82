#include <sstream>

#include "kernel/Paths.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Texts without blanks: rows stand between blanks, the cells of a row between '|'.
std::vector<std::vector<std::string>> Rows(const std::string& table) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream words(table);
    for (std::string row; words >> row;) rows.push_back(Cells(row));
    return rows;
}

// Each row is a name and its patterns.
TEST(Wildcards, MatchTheTable) {
    // A separator lets '?' pass, ';' is an ordinary byte before the last separator, and letter case
    // is that of the ANSI code page.
    for (const auto& row :
         Rows("Data/Tex/A.TGA|data/*/*.tga Data\\Tex/A.TGA|data/*\\*.tga readme|*. a.txt.txt|*.txt "
              "readme|*.;*.txt b.bmp|*.txt;*.bmp b.bmp|*.bmp;*.txt x/y/b.tga|*/*/b.tga "
              "./a.txt|a.txt a.txt|.\\A.TXT a;b/c|a;b/c a/b|a?/b ax/b|a?/b abc|a?c abc|*? abc|**c "
              "aab|*ab abcabd|*b*bd mississippi|*iss*ip*i \xC4.txt|\xE4.TXT | |*")) {
        EXPECT_TRUE(MatchWildcards(row[0], row[1])) << row[0];
    }
    for (const auto& row :
         Rows("readme|*.* a.b|*. a.b.c|*.;*.b x.y|x**. b.bmp|*.txt;*.bm a/b.txt|*.txt "
              "x/y/b.tga|*/b.tga b/c|a;b/c ac|a?c mississippi|*iss*ipp |*? [.txt|{.txt a| "
              "data|data/x data/x|dat")) {
        std::size_t dirEnd = 0;
        EXPECT_FALSE(MatchWildcards(row[0], row[1], &dirEnd)) << row[0];
        EXPECT_EQ(dirEnd, kNone) << row[0];
    }
}

TEST(Wildcards, TellTheDirectoryThatThePatternNames) {
    for (const auto& row : Rows("data/x|data|0|4 ./data/x|data|0|6 data/x|data/|0|4 "
                                "data/sub/x|data/*|0|8 data/x|other;data|0|4 data/|data/|1|4")) {
        std::size_t dirEnd = 0;
        EXPECT_EQ(MatchWildcards(row[0], row[1], &dirEnd), row[2] == "1") << row[0];
        EXPECT_EQ(std::to_string(dirEnd), row[3]) << row[0];
    }
}

// Exponential or cubic work would not end within the test's time limit.
TEST(Wildcards, EndQuicklyOnHostilePatterns) {
    const std::string name(5000, 'a');
    std::string stars;
    for (int i = 0; i < 2000; ++i) stars += "*a";
    EXPECT_FALSE(MatchWildcards(name, stars + "*b"));
    EXPECT_FALSE(MatchWildcards(name, std::string(5000, '*') + "b"));
    EXPECT_FALSE(MatchWildcards(name, '*' + name.substr(1) + 'b'));
    EXPECT_FALSE(MatchWildcards(name + "/" + name, stars + "*b/" + stars));
}

}  // namespace
}  // namespace Vorn::Testing
