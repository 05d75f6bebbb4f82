#include "converter/PatchLists.h"

#include "converter/MD5.h"
#include "tests/KernelStandard/FileLayer.h"
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
        {"a\n1\n2\nb\n3\n4\n", 2, "a=1\n2\n;b=3\n4\n;"},
        {"a\n1\n\nb\n3\n4\n", 2, "b=3\n4\n;"},
        {"a\n1\n", 2, ""},
        {"\xFF\n1\na\0b\n2\n"sv, 1, "a\0b=2;\xFF=1;"s}};
    for (const auto& [text, digestLines, records] : rows) {
        MemberMap members;
        ParseList(text, digestLines, members);
        std::string got;
        for (const auto& [name, digests] : members)
            got.append(name.View()).append("=").append(digests.View()).append(";");
        EXPECT_EQ(got, records) << text;
    }
}

TEST(PatchLists, TheyAreWrittenInByteOrderAndAsThePageShows) {
    MemberMap members;
    members[Intern("b")] = Intern("2");
    members[Intern("B")] = Intern("4");
    EXPECT_EQ(FormatList(members), "B\n4\nb\n2\n");
    EXPECT_EQ(FormatList({}), "");

    const auto digest = [](std::string_view content) {
        MD5 md5;
        md5.update(content.data(), content.size());
        md5.finalize();
        return std::string(md5.hex_digest().get());
    };
    members.clear();
    members[Intern("textures/wall.tga")] = Intern(digest("old") + "\n" + digest("new"));
    members[Intern("a.txt")] = Intern(digest("a") + "\n" + digest("b"));
    EXPECT_EQ(FormatList(members), ExampleOf("patch.md"));
    for (const char* text : {"1\n2\n", "\n\n1\n2\n", "1"}) {
        EXPECT_EQ(FirstDigest(Intern(text)), Intern("1")) << text;
    }
}

}  // namespace
}  // namespace Vorn::Testing
