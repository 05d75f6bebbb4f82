#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using VaTagDiff = VaProgram;

TEST_F(VaTagDiff, LinesTellPathsAndValues) {
    const Table<std::string, std::string, std::string> rows = {
        {"a 1\nb { c x }", "a 1\nb { c x }", ""},
        {"a 1\nb 2", "a 1.0\nb 2", "M\ta\t1\t1.0\n"},
        {"a 1\nb x", "b x\nc", "D\ta\t1\nA\tc\t(no value)\n"},
        {"a { b { c 1\nd 2\n} }\ne 3", "a { b { c 1\nd \"2\tx\"\n} }\ne 4",
         "M\ta/b/d\t2\t\"2\\x09x\"\nM\te\t3\t4\n"},
        {"a { b 1\n c 2\n}", "a x", "M\ta\t{ 2 tags }\t\"x\"\n"},
        {"a { b { c 1\n} }", "", "D\ta\t{ 1 tag }\n"},
        {"n 1\nn 2\nn 3\n", "n 1\nn 3\n", "M\tn\t2\t3\nD\tn\t3\n"},
        {"a { x 1\ny 2\nz 3\n}", "a { z 3\nx 1\nw 4\ny 2\n}", "O\ta\nA\ta/w\t4\n"},
        {"a 1\nb 2\n", "b 2\na 1\n", "O\t.\n"},
        {"a/b 1\n", "", "D\ta\\/b\t1\n"},
    };
    for (const auto& [a, b, expected] : rows) {
        SCOPED_TRACE(a + "\n----\n" + b);
        folder_.Write("a.txt", a);
        folder_.Write("b.txt", b);
        const Outcome run = Va("tag diff -q a.txt b.txt");
        EXPECT_EQ(run.out, expected);
        EXPECT_EQ(run.exitCode, expected.empty() ? 0 : 1);
    }
}

TEST_F(VaTagDiff, FormsAndArchivesMakeNoDifference) {
    folder_.Write("a.txt", "my_name { mass 1.5\ntext \"x\" }\nk <kuid:5:9>\n");
    folder_.Write("a.chump",
                  ChunkFile(Record("My name", 0,
                                   Record("Mass", 2, "\0\0\xC0\x3F"s) + Record("text", 3, "x"s)) +
                            Record("k", 13, "\5\0\0\0\x09\0\0\0"s)));
    folder_.Write("b.chump", ChunkFile(Record("my_name", 0, "") + Record("K", 4, "\1\2"s)));
    Pack("Town.va", "config.txt", "k <kuid:5:9>\nk 2\n");
    ExpectAnswers({
        {"tag diff a.txt a.chump", 0, "4 same, 0 added, 0 removed, 0 changed, 0 reordered\n"},
        {"tag diff a.chump b.chump", 1, "D\tMy name\t{ 2 tags }\nD\tk\t<kuid:5:9>\nA\tmy_name"},
        {"tag diff b.chump a.txt -q", 1,
         "A\tmy_name/mass\t1.5\nA\tmy_name/text\t\"x\"\nM\tK\traw 0102\t<"},
        {"tag diff Town.va:config.txt - <a.txt", 1, "D\tk\t2\nA\tmy_name\t{ 2 tags }\n"},
        {"tag diff a.txt none.txt", 9, "there is no file"},
        {"tag diff a.txt .", 7, "gives 3 descriptions"},
        {"tag diff a.txt Town.va", 2, "'Town.va' is an archive"},
    });
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "a {\n";
    folder_.Write("deep.txt", deep + "b 1");
    folder_.Write("deeper.txt", deep + "b 2");
    const Outcome run = Va("tag diff -qq deep.txt deeper.txt", "ulimit -s 256;");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, testing::EndsWith("a/a/b\t1\t2\n"));
    EXPECT_LT(run.out.size(), 5000u);
}

}  // namespace
}  // namespace Vorn::Testing
