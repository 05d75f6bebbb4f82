#include "patch/Lists.h"

#include "patch/MD5.h"
#include "tests/support/RawArchive.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

TEST(PatchLists, TextIsCutIntoRecordsOfLines) {
    // The records are written as "name=digests;".
    const Table<std::string_view, int, std::string> rows = {
        {"", 1, ""},
        {"a\n1\n", 1, "a=1;"},
        {"a\n1", 1, "a=1;"},
        {"a\n1\nb\n", 1, "a=1;"},                   // the second line is missing
        {"a\n\nb\n2\n", 1, "b=2;"},                 // or empty
        {"\n1\nb\n2\n", 1, "b=2;"},                 // no name
        {"a\r\n1\r\n", 1, "a\r=1\r;"},              // only the line feed is special
        {"b\n1\nB\n2\na\n3\n", 1, "B=2;a=3;b=1;"},  // byte order
        {"a\n1\na\n2\n", 1, "a=2;"},                // the later one counts
        {"a\n1\n2\nb\n3\n4\n", 2, "a=1\n2;b=3\n4;"},
        {"a\n1\n\nb\n3\n4\n", 2, "b=3\n4;"},
        {"a\n1\n", 2, ""},
        {"\xFF\n1\na\0b\n2\n"sv, 1, "a\0b=2;\xFF=1;"s}};
    for (const auto& [text, digestLines, records] : rows) {
        std::string got;
        for (const auto& [name, digests] : patch::ParseList(text, digestLines)) {
            got.append(name).append("=").append(digests).append(";");
        }
        EXPECT_EQ(got, records) << text;
    }
}

TEST(PatchLists, TheyAreWrittenInByteOrderAndAsThePageShows) {
    EXPECT_EQ(patch::FormatList({{"b", "2"}, {"B", "4"}}), "B\n4\nb\n2\n");
    EXPECT_EQ(patch::FormatList({}), "");

    const auto digest = [](std::string_view content) {
        return patch::DigestOf(std::as_bytes(std::span(content)));
    };
    const patch::List example{{"textures/wall.tga", digest("old") + "\n" + digest("new")},
                              {"a.txt", digest("a") + "\n" + digest("b")}};
    EXPECT_EQ(patch::FormatList(example), ExampleOf("patch.md"));
    EXPECT_EQ(patch::OldDigest(example.at("a.txt")), digest("a"));
}

TEST(PatchLists, NamesOfListsAreKnownInAnyLetterCase) {
    EXPECT_TRUE(patch::IsListName("addedFiles.txt"));
    EXPECT_TRUE(patch::IsListName("PATCHEDFILES.TXT"));
    EXPECT_FALSE(patch::IsListName("a/deletedFiles.txt"));
    EXPECT_FALSE(patch::IsListName("deletedFiles.tx"));
}

}  // namespace
}  // namespace Vorn::Testing
