#include "kernel/Paths.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Each row is a name and its patterns.
TEST(Wildcards, MatchTheTable) {
    // A separator lets '?' pass, ';' is an ordinary byte before the last separator, and letter case
    // is that of the ANSI code page.
    for (const auto& [name, patterns] : Table<const char*, const char*>{
             {"Data/Tex/A.TGA", "data/*/*.tga"},
             {"Data\\Tex/A.TGA", "data/*\\*.tga"},
             {"readme", "*."},
             {"a.txt.txt", "*.txt"},
             {"readme", "*.;*.txt"},
             {"b.bmp", "*.txt;*.bmp"},
             {"b.bmp", "*.bmp;*.txt"},
             {"x/y/b.tga", "*/*/b.tga"},
             {"./a.txt", "a.txt"},
             {"a.txt", ".\\A.TXT"},
             {"a;b/c", "a;b/c"},
             {"a/b", "a?/b"},
             {"ax/b", "a?/b"},
             {"abc", "a?c"},
             {"abc", "*?"},
             {"abc", "**c"},
             {"aab", "*ab"},
             {"abcabd", "*b*bd"},
             {"mississippi", "*iss*ip*i"},
             {"\xC4.txt", "\xE4.TXT"},
             {"", ""},
             {"", "*"},
         }) {
        EXPECT_TRUE(MatchWildcards(name, patterns)) << name << " and " << patterns;
    }
    for (const auto& [name, patterns] : Table<const char*, const char*>{
             {"readme", "*.*"},
             {"a.b", "*."},
             {"a.b.c", "*.;*.b"},
             {"x.y", "x**."},
             {"b.bmp", "*.txt;*.bm"},
             {"a/b.txt", "*.txt"},
             {"x/y/b.tga", "*/b.tga"},
             {"b/c", "a;b/c"},
             {"ac", "a?c"},
             {"mississippi", "*iss*ipp"},
             {"", "*?"},
             {"[.txt", "{.txt"},
             {"a", ""},
             {"data", "data/x"},
             {"data/x", "dat"},
         }) {
        std::size_t dirEnd = 0;
        EXPECT_FALSE(MatchWildcards(name, patterns, &dirEnd)) << name << " and " << patterns;
        EXPECT_EQ(dirEnd, kNone) << name << " and " << patterns;
    }
}

TEST(Wildcards, TellTheDirectoryThatThePatternNames) {
    for (const auto& [name, patterns, matches, end] :
         Table<const char*, const char*, bool, std::size_t>{
             {"data/x", "data", false, 4},
             {"./data/x", "data", false, 6},
             {"data/x", "data/", false, 4},
             {"data/sub/x", "data/*", false, 8},
             {"data/x", "other;data", false, 4},
             {"data/", "data/", true, 4},
         }) {
        std::size_t dirEnd = 0;
        EXPECT_EQ(MatchWildcards(name, patterns, &dirEnd), matches) << name;
        EXPECT_EQ(dirEnd, end) << name << " and " << patterns;
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
