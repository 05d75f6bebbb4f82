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
        {"a", good, 0, "a: binary form, 1 tag, no warnings, no losses in the text form"},
        {"b.txt", "a 1\nb\n{\n  c 99999999999\n}\n", 1, "b.txt:4:"},
        {"b.txt", "a 1\n  }\nb 2\n", 1, "b.txt:2:3: warning: a '}' that closes nothing"},
        {"b.txt", "a 1\nb \"open", 1, "b.txt:2:1: warning: the closing quote is missing"},
        {"c.chump", longRecord, 2,
         "c.chump: offset 16: error: the record extends past its container"},
        {"c.cdp2", "a 1\n", 2, "c.cdp2: offset 0: error: not a chunk file"},
        {"c.chump", ChunkFile(Record("a", 1, "\7\0\0"s)), 1,
         "c.chump: offset 16: warning: the payload does not hold whole values: a"},
        {"c.chump", ChunkFile(Record("a", 4, "\7"s)), 1, "c.chump: offset 16: loss: raw bytes"},
        {"c.chump", ChunkFile(Record("a", 1, "\7\0\0\0"s), 2), 2, "neither 0 nor 1"},
    };
    for (const auto& [name, content, code, told] : rows) {
        folder_.Write(name, content);
        ExpectAnswers({{"tag check "s + name, code, told}});
    }
}

TEST_F(VaReading, TwentyFindingsOfAKindAreShownAndTheOthersCounted) {
    std::string text = "Pi 3\n";
    for (int i = 0; i < 5000; ++i) text += "mass 99999999999\n";
    const std::string fault = "the number does not fit; the nearest one is taken: ";
    std::string expected = "a.txt:1:1: loss: capital letters of the name become small ones: Pi\n";
    for (int i = 2; i < 22; ++i) {
        expected += "a.txt:" + std::to_string(i) + ":6: warning: " + fault + "mass\n";
    }
    expected += "a.txt: warning: " + fault + "and 4,980 more\n";
    folder_.Write("a.txt", text);
    EXPECT_EQ(
        Va("tag check a.txt").out,
        expected + "a.txt: text form, 5,001 tags, 5,000 warnings, 1 loss in the binary form\n");
    EXPECT_EQ(Va("tag to-binary a.txt a.chump").err, expected);

    // What ends the run comes last.
    text.clear();
    for (int i = 0; i < 1021; ++i) text += std::string(300, 'n') + " 1\n";
    folder_.Write("b.txt", text);
    const std::string err = Va("tag to-binary b.txt b.chump").err;
    EXPECT_THAT(err, HasSubstr("\nb.txt: loss: the name has more than 254 bytes: and 1,001 more\n"
                               "va: 'b.chump' is not written"));
}

// Lines of several runs into one log do not mix: each is one write.
TEST_F(VaReading, AFindingIsOneWrite) {
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "a traced run is needed";
    }
    folder_.Write("a.txt", "Pi 3.14159265\nmass 99999999999\nTwo 2\n");
    for (const char* words : {"check a.txt", "to-binary a.txt a.chump"}) {
        SCOPED_TRACE(words);
        EXPECT_EQ(Shell("cd " + folder_.Path() + "; strace -o trace -e write -s 1000 " VA " tag " +
                        words + " >log 2>&1"),
                  1);
        const std::string trace = folder_.Read("trace");
        int lines = 0;
        for (std::size_t at = 0; (at = trace.find(", \"a.txt:", at)) != trace.npos; ++at) {
            EXPECT_EQ(trace.find("\\n", at), trace.find("\", ", at + 3) - 2) << trace;
            ++lines;
        }
        EXPECT_EQ(lines, words == "check a.txt"s ? 5 : 4) << trace;
    }
}

TEST_F(VaReading, PrintShowsEveryValueExactly) {
    folder_.Write("a.chump",
                  ChunkFile(Record("Int", 1, "\1\0\0\0\xFE\xFF\xFF\xFF"s) +
                            Record("f", 2, "\xDB\x0F\x49\x40\0\0\x80\x3F\0\0\x80\x7F"s) +
                            Record("t", 3, "a\"\x1B[2J\r\n\0"s) + Record("raw", 4, "\1\xAB"s) +
                            Record("k", 13, "\5\0\0\4\x09\0\0\0"s) + Record("none", 5, "") +
                            Record("box", 0, Record("in side", 3, "\0"s))));
    EXPECT_EQ(Va("tag print a.chump").out,
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
    ExpectAnswers({
        {"tag get a.txt mass", 0, "4\n"},
        {"tag get a.txt list", 0, "1.0,2.0,3.5\n"},
        {"tag get a.txt engine/power", 0, "10\n"},
        {"tag get a.txt /Engine/INNER/deep", 0, "x y\n"},
        {"tag get a.txt engine/inner", 0, "deep                                    \"x y\"\n"},
        {"tag get a.txt kuid", 0, "<kuid:1:2>\n"},
        {"tag get a.txt engine/speed", 9,
         "there is no tag 'speed' in 'engine': it has power, power, inner"},
        {"tag get a.txt mass/unit", 9, "there is no tag 'unit' in 'mass': it holds none"},
        {"tag get a.txt none", 9, "at the top: it has list, mass, engine, empty, kuid"},
    });
    EXPECT_EQ(Va("tag get a.txt empty").out, "");
    folder_.Write("b.chump", ChunkFile(Record("A", 3, "upper\0"s) + Record("a", 3, "lower\0"s) +
                                       Record("d/e", 0, Record("f\\", 1, "\7\0\0\0"s)) +
                                       Record("g\\h", 1, "\x8\0\0\0"s)));
    ExpectAnswers({{"tag get b.chump a", 0, "lower\n"},
                   {"tag get b.chump 'd\\/e/f\\\\'", 0, "7\n"},
                   {"tag get b.chump 'd\\/e/f\\/'", 9, "there is no tag 'f/' in 'd/e'"},
                   {"tag get b.chump 'd/e'", 9, "there is no tag 'd' at the top"},
                   {"tag get b.chump 'g\\h'", 0, "8\n"}});
}

TEST_F(VaReading, DeepFilesAreWalkedOnASmallStack) {
    std::string text;
    for (int i = 0; i < 200000; ++i) text += "a {\n";
    folder_.Write("deep.txt", text);
    for (const char* command : {"print", "check"}) {
        EXPECT_EQ(Va("tag "s + command + " deep.txt", "ulimit -s 256;").exitCode, 1) << command;
    }
}

}  // namespace
}  // namespace Vorn::Testing
