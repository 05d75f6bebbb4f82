#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using VaReading = VaProgram;

TEST_F(VaReading, CheckNamesThePlaceOfWhatItFinds) {
    const std::string good = ChunkFile(Record("a", 1, "\7\0\0\0"s));
    std::string longRecord = good;
    longRecord[16] = 9;
    const Table<const char*, std::string, int, const char*> rows = {
        {"a.txt", "a 1\nb { c \"d\" }\n", 0, "a.txt: text form, 3 tags, no warnings, no losses"},
        {"a.chump", good, 0,
         "a.chump: binary form, 1 tag, no warnings, no losses in the text form"},
        {"a", good, 0, "a: binary form, 1 tag"},
        {"b.txt", "a 1\nb\n{\n  c 99999999999\n}\n", 1, "b.txt:4:"},
        {"b.txt", "a 1\n  }\nb 2\n", 1, "b.txt:2:3: warning: a '}' that closes nothing"},
        {"b.txt", "a 1\nb \"open", 1, "b.txt:2:1: warning: the closing quote is missing"},
        {"c.chump", longRecord, 2, "c.chump: offset 16: error: the record is longer"},
        {"c.chump", "OCS$", 2, "c.chump: offset "},
        {"c.cdp2", "a 1\n", 2, "c.cdp2: offset 0: error: not a chunk file"},
        {"c.chump", ChunkFile(Record("a", 1, "\7\0\0"s)), 1,
         "c.chump: offset 16: warning: the payload does not hold whole values: a"},
        {"c.chump", ChunkFile(Record("a", 4, "\7"s)), 1, "c.chump: offset 16: loss: raw bytes"},
        {"c.chump", ChunkFile(Record("a", 1, "\7\0\0\0"s), 2), 2, "neither 0 nor 1"},
    };
    for (const auto& [name, content, code, told] : rows) {
        SCOPED_TRACE(told);
        folder_.Write(name, content);
        const Outcome run = Va({"tag", "check", name});
        EXPECT_EQ(run.exitCode, code);
        EXPECT_THAT(run.out, HasSubstr(told));
    }
}

TEST_F(VaReading, EveryPrefixOfAChunkFileIsAnswered) {
    const std::string whole =
        ChunkFile(Record("b", 0, Record("c", 3, "hi\0"s) + Record("d", 2, "\0\0\0\0"s)));
    int refused = 0;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        folder_.Write("a.chump", whole.substr(0, size));
        const Outcome run = Va({"tag", "print", "a.chump"});
        refused += run.exitCode == 2 && run.err.starts_with("a.chump: offset ") ? 1 : 0;
    }
    EXPECT_EQ(refused, static_cast<int>(whole.size()));
}

TEST_F(VaReading, PrintShowsEveryValueExactly) {
    folder_.Write("a.chump",
                  ChunkFile(Record("Int", 1, "\1\0\0\0\xFE\xFF\xFF\xFF"s) +
                            Record("f", 2, "\xDB\x0F\x49\x40\0\0\x80\x3F\0\0\x80\x7F"s) +
                            Record("t", 3, "a\"\x1B[2J\r\n\0"s) + Record("raw", 4, "\1\xAB"s) +
                            Record("k", 13, "\5\0\0\4\x09\0\0\0"s) + Record("none", 5, "") +
                            Record("box", 0, Record("in side", 3, "\0"s))));
    const Outcome run = Va({"tag", "print", "a.chump"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "Int                                     1,-2\n"
              "f                                       3.1415927,1.0,inf\n"
              "t                                       \"a\\\"\\x1b[2J\\r\\n\"\n"
              "raw                                     raw 01ab\n"
              "k                                       <kuid2:5:9:2>\n"
              "none\n"
              "box {\n"
              "  in side                               \"\"\n"
              "}\n");
}

TEST_F(VaReading, GetPrintsOneValue) {
    folder_.Write(
        "a.txt",
        "list 1,2,3.5\nmass 4\nengine\n{\n  power 10\n  power 20\n  Inner { deep \"x y\" }\n"
        "}\nempty\nkuid <kuid:1:2>\n");
    const Table<const char*, int, const char*> rows = {
        {"mass", 0, "4\n"},
        {"list", 0, "1.0,2.0,3.5\n"},
        {"engine/power", 0, "10\n"},
        {"/Engine/INNER/deep", 0, "x y\n"},
        {"engine/inner", 0, "deep                                    \"x y\"\n"},
        {"empty", 0, ""},
        {"kuid", 0, "<kuid:1:2>\n"},
        {"engine/speed", 9, "there is no tag 'speed' in 'engine': it has power, power, inner"},
        {"mass/unit", 9, "there is no tag 'unit' in 'mass': it is empty"},
        {"nothing", 9, "at the top: it has list, mass, engine, empty, kuid"},
    };
    for (const auto& [path, code, told] : rows) {
        SCOPED_TRACE(path);
        const Outcome run = Va({"tag", "get", "a.txt", path});
        EXPECT_EQ(run.exitCode, code);
        EXPECT_THAT(code == 0 ? run.out : run.err, HasSubstr(told));
        EXPECT_EQ(run.out.size(), code == 0 ? std::string(told).size() : 0);
    }
    folder_.Write("b.chump", ChunkFile(Record("A", 3, "upper\0"s) + Record("a", 3, "lower\0"s)));
    EXPECT_EQ(Va({"tag", "get", "b.chump", "a"}).out, "lower\n");
}

TEST_F(VaReading, DeepFilesAreWalkedOnASmallStack) {
    std::string text;
    for (int i = 0; i < 200000; ++i) text += "a {\n";
    folder_.Write("deep.txt", text);
    for (const char* command : {"print", "check"}) {
        const Outcome run = Va({"tag", command, "deep.txt"}, "ulimit -s 256;");
        EXPECT_EQ(run.exitCode, 1) << command;
    }
}

}  // namespace
}  // namespace Vorn::Testing
