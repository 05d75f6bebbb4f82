#include <fstream>
#include <regex>

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
    std::string expected =
        "a.txt:1:1: loss: capital letters of the name become small ones: Pi [name-lowered]\n";
    for (int i = 2; i < 22; ++i) {
        expected +=
            "a.txt:" + std::to_string(i) + ":6: warning: " + fault + "mass [number-range]\n";
    }
    expected += "a.txt: warning: " + fault + "and 4,980 more [number-range]\n";
    folder_.Write("a.txt", text);
    EXPECT_EQ(
        Va("tag check a.txt --ignore=name-twice").out,
        expected + "a.txt: text form, 5,001 tags, 5,000 warnings, 1 loss in the binary form\n");
    EXPECT_EQ(Va("tag to-binary a.txt a.chump").err, expected);

    // What ends the run comes last.
    text.clear();
    for (int i = 0; i < 1021; ++i) text += std::string(300, 'n') + " 1\n";
    folder_.Write("b.txt", text);
    const std::string err = Va("tag to-binary b.txt b.chump").err;
    EXPECT_THAT(
        err, HasSubstr(
                 "\nb.txt: loss: the name has more than 254 bytes: and 1,001 more [name-too-long]\n"
                 "va: the tags of 'b.txt' are not written"));
}

// Lines of several runs into one log do not mix: each write ends with a line.
TEST_F(VaReading, AWriteEndsWithALine) {
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "a traced run is needed";
    }
    folder_.Write("a.txt", "Pi 3.14159265\nmass 99999999999\nTwo 2\n");
    for (const auto& [words, writes] :
         Table<std::string, int>{{"check a.txt", 1}, {"to-binary a.txt a.chump", 4}}) {
        SCOPED_TRACE(words);
        EXPECT_EQ(Shell("cd " + folder_.Path() + "; strace -o trace -e write -s 10000 " VA " tag " +
                        words + " >log 2>&1"),
                  1);
        const std::string trace = folder_.Read("trace");
        int found = 0;
        for (std::size_t at = 0; (at = trace.find(", \"a.txt:", at)) != trace.npos; ++at) {
            const std::size_t end = trace.find("\", ", at + 3);
            EXPECT_EQ(trace.substr(end - 2, 2), "\\n") << trace;
            ++found;
        }
        EXPECT_EQ(found, writes) << trace;
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

TEST_F(VaReading, JsonTellsTypesAndBytes) {
    folder_.Write("a.chump",
                  ChunkFile(Record("a/b", 0, Record("f", 2, "\xDB\x0F\x49\x40\0\0\x80\x7F"s)) +
                            Record("\xFF", 3, "x\x1B\xFE\0"s) + Record("r", 4, "\1\2"s) +
                            Record("n", 1, "\xFE\xFF\xFF\xFF"s)));
    EXPECT_EQ(
        Va("tag print --json a.chump").out,
        R"({"type":"va","schema":1,"command":"tag print"})"
        "\n"
        R"({"type":"tag","input":"a.chump","depth":0,"name":"a/b","path":"a\\/b","kind":"container"})"
        "\n"
        R"({"type":"tag","input":"a.chump","depth":1,"name":"f","path":"a\\/b/f","kind":"float",)"
        R"("numbers":[3.1415927410125732,null]})"
        "\n"
        R"({"type":"tag","input":"a.chump","depth":0,"name":"\\xff","name_bytes":"/w==",)"
        R"("path":"\\xff","path_bytes":"/w==","kind":"text","text":"x\\x1b\\xfe",)"
        R"("text_bytes":"eBv+"})"
        "\n"
        R"({"type":"tag","input":"a.chump","depth":0,"name":"r","path":"r","kind":"raw","bytes":"AQI="})"
        "\n"
        R"({"type":"tag","input":"a.chump","depth":0,"name":"n","path":"n","kind":"integer","numbers":[-2]})"
        "\n"
        R"({"type":"end","exit":0})"
        "\n");
    folder_.Write("t.txt", "a 99999999999\n");
    EXPECT_THAT(
        Va("tag check --json t.txt").out,
        HasSubstr(
            R"({"type":"finding","input":"t.txt","kind":"number-range","weight":"warning",)"
            R"("what":"the number does not fit; the nearest one is taken","about":"a","offset":2,)"
            R"("line":1,"column":3})"));
}

TEST_F(VaReading, GetJudgesOnlyTheTagsThatAreAskedFor) {
    folder_.Write("a.txt",
                  "good 1\nbad 99999999999\nquoted \"x\" y\nbox {\n  inner \"z\"q\n}\nlast 2\n}");
    ExpectAnswers({
        {"tag get a.txt good last", 0, "1\n2\n"},
        {"tag get a.txt y", 0, ""},
        {"tag get a.txt good bad", 1, "number-range"},
        {"tag get a.txt quoted", 1, "a.txt:3:12: warning: text after a closing quote"},
        {"tag get a.txt box", 1, "a.txt:5:12: warning: text after a closing quote"},
        {"tag get a.txt bax", 9, "closes nothing"},
        {"tag get --default=7 a.txt bax good", 0, "7\n1\n"},
        {"tag get a.txt bax --default ''", 0, "\n"},
        {"tag get --default=7 b.txt good", 9, "there is no file"},
    });
    folder_.Write("a.chump", ChunkFile(Record("good", 1, "\1\0\0\0"s) +
                                       Record("box", 0, Record("bad", 1, "\7\0\0"s)) +
                                       Record("last", 1, "\2\0\0\0"s)));
    ExpectAnswers({{"tag get a.chump good last", 0, "1\n2\n"},
                   {"tag get a.chump box", 1, "whole values: bad"},
                   {"tag get a.chump box/bad", 1, "whole values: bad"}});
}

TEST_F(VaReading, ManyInputsAreReadAndTheGravestResultCounts) {
    folder_.Write("in/config.txt", "mass 1\n");
    folder_.Write("in/sub/b.chump", ChunkFile(Record("mass", 1, "\2\0\0\0"s)));
    folder_.Write("in/sub/odd.txt", "mass 99999999999\n");
    folder_.Write("in/wall.tga", "no description");
    folder_.Write("empty/readme.md", "");
    Pack("Town.va", "trains/a.txt", "mass 3\n");
    const std::string one =
        "in/config.txt: text form, 1 tag, no warnings, no losses in the binary "
        "form\n";
    const std::string two =
        "in/sub/b.chump: binary form, 1 tag, no warnings, no losses in the text "
        "form\n";
    Outcome run = Va("tag check in --exclude='sub/odd*'");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, one + two);
    EXPECT_EQ(run.err, "2 descriptions, 2 without findings\n");
    run = Va("tag check -q in/config.txt nowhere.txt in/sub/b.chump");
    EXPECT_EQ(run.exitCode, 9);
    EXPECT_EQ(run.out, one + two);
    EXPECT_THAT(run.err, testing::StartsWith("va: there is no file 'nowhere.txt'"));
    ExpectAnswers({
        {"tag check in/", 1, "in/sub/odd.txt:1:6: warning: the number does not fit"},
        {"tag check in --ignore=number-range", 0, "3 descriptions, 3 without findings"},
        {"tag check in in/wall.tga nowhere.txt empty", 9, "3 without findings"},
        {"tag check empty", 9, "no description in 'empty'; their names end in .txt, .chump"},
        {"tag check 'Town.va:**' Town.va:trains/A.TXT", 0, "2 descriptions, 2 without"},
        {"tag get in mass", 1, "in/config.txt\t1\nin/sub/b.chump\t2\nin/sub/odd.txt\t2147483647"},
        {"tag get 'Town.va:trains/*' mass", 0, "3\n"},
        {"tag print 'Town.va:tr*/*.txt' in/config.txt", 0,
         "Town.va:trains/a.txt:\nmass                                    3\n\nin/config.txt:\n"},
        {"tag get - mass < in/config.txt", 0, "1\n"},
        {"tag get - mass < in/sub/b.chump", 0, "2\n"},
        {"tag check - < in/sub/odd.txt", 1, "-:1:6: warning:"},
    });
}

TEST_F(VaReading, CheckCountsWhatABuildWantsToHear) {
    folder_.Write("a.chump", ChunkFile(Record("raw", 4, "\1"s)));
    folder_.Write("b.txt", "Pi 3.14159265\n");
    ExpectAnswers({
        {"tag check a.chump", 1, "[raw-bytes]\na.chump: binary form, 1 tag, no warnings, 1 loss"},
        {"tag check a.chump b.txt --losses=no", 0,
         "a.chump: binary form, 1 tag, no warnings\nb.txt: text form, 1 tag, no warnings\n"},
        {"tag check --ignore=raw-bytes a.chump", 0, "no losses in the text form"},
        {"tag check --ignore raw-bytes --ignore=name-lowered b.txt", 1, "1 loss"},
        {"tag to-text --ignore=raw-bytes a.chump -", 0, "raw "},
    });
}

// Programs read all of it as it is written, and it is hardly ever meant.
TEST_F(VaReading, CheckNotesWhatIsLegalAndSurprising) {
    folder_.Write("a.txt",
                  "; a note\n; another\n// 1\nmass 14,300\nbox { mode 5 }\nbox { m fast }\n"
                  "pair 1,2\ncolour 255,128,128\nsmall 0,250\nfine -1,000 \nlast { l 1,2 }\n");
    const Outcome run = Va("tag check a.txt");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out,
              "a.txt:1:1: note: texts have no comments; this line is a tag: ; [comment]\n"
              "a.txt:2:1: note: texts have no comments; this line is a tag: ; [comment]\n"
              "a.txt:3:1: note: texts have no comments; this line is a tag: // [comment]\n"
              "a.txt:4:6: note: a comma makes a list; this is two numbers, not one: mass "
              "[thousands]\n"
              "a.txt:5:12: note: a '}' on the same line makes this number a text: mode "
              "[number-as-text]\n"
              "a.txt:10:6: note: a comma makes a list; this is two numbers, not one: fine "
              "[thousands]\n"
              "a.txt:11:10: note: a '}' on the same line makes this number a text: l "
              "[number-as-text]\n"
              "a.txt:6:1: note: the container has this name before; programs find the first: box "
              "[name-twice]\n"
              "a.txt: text form, 14 tags, no warnings, 8 notes, no losses in the binary form\n");
    folder_.Write("b.chump", ChunkFile(Record("a", 0, Record("n", 5, "") + Record("n", 5, "")) +
                                       Record("n", 5, "") + Record("N", 5, "")));
    ExpectAnswers({
        {"tag check b.chump", 1, "b.chump: offset 32: note: the container has this name before"},
        {"tag check --losses=no --ignore=name-twice b.chump", 0, "no warnings\n"},
        {"tag to-binary a.txt a.chump", 0, ""},
    });
}

TEST_F(VaReading, ThePageListsEveryKindOfFinding) {
    std::ifstream page(PAGES "/docs/tags.md");
    const std::regex row("\\| `([a-z-]+)` \\| (warning|error|loss|note) \\|.*");
    std::string kinds;
    for (std::string line; std::getline(page, line);) {
        std::smatch match;
        if (std::regex_match(line, match, row)) {
            kinds += (kinds.empty() ? "" : ", ") + match[1].str();
        }
    }
    EXPECT_THAT(Va("tag check --ignore=nothing a.txt").err, HasSubstr("one of " + kinds + ", not"));
}

// What is no description is named for what it is, whatever its name says.
TEST_F(VaReading, OtherFilesAreNamedForWhatTheyAre) {
    Pack("Town.va", "wall.png", "\x89PNG\r\n\x1A\n....");
    const Table<const char*, std::string, std::string> rows = {
        {"a.txt", folder_.Read("Town.va"), "an archive"},
        {"a.chump", "\x89PNG\r\n\x1A\n\0\0"s, "a picture (PNG)"},
        {"a.txt", "\xFF\xD8\xFF\xE0", "a picture (JPEG)"},
        {"a.txt", "DDS \x7C\0\0\0"s, "a picture (DDS)"},
        {"a.tga", "\0\0\2"s + Noise(600), "neither a text nor in the binary form"},
        {"a.txt", Noise(600) + "TRUEVISION-XFILE.\0"s, "a picture (TGA)"},
        {"a.txt", "PK\3\4....", "a ZIP archive"},
        {"a.txt", "CFIL\1\1\0\0\5\0\0\0"s, "a compressed file"},
        {"a.txt",
         "\xFF\xFE"
         "a\0 \0"s,
         "a text in UTF-16"},
    };
    for (const auto& [name, content, kind] : rows) {
        folder_.Write(name, content);
        ExpectAnswers({{"tag check "s + name, 2, "'"s + name + "' is " + kind}});
    }
    ExpectAnswers({{"tag print Town.va:wall.png", 2, "'Town.va:wall.png' is a picture (PNG)"},
                   {"tag get Town.va n", 2, "'Town.va' is an archive"}});
    // Words that begin like marks are texts.
    for (const char* text : {"BMW 5", "DDS 5", "CFIL 5", "RIFF WAVE", "MZ 1", "ID3 4"}) {
        folder_.Write("a.txt", text);
        ExpectAnswers({{"tag check --losses=no a.txt", 0, "1 tag, no warnings"}});
    }
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
