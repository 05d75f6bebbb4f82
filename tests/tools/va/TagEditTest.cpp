#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using VaEditing = VaProgram;
using namespace std::chrono_literals;

TEST_F(VaEditing, OneValueOfATextChangesAndAllElseStays) {
    const std::string utf8 = "\xEF\xBB\xBF";
    const Table<std::string, const char*, std::string> rows = {
        {"; note\nmass\t1.5  \r\nlast 1", "set IN mass 3", "; note\nmass\t3.0  \r\nlast 1"},
        {"a 1.5\n", "set IN a 1,2.5", "a 1,2.5\n"},
        {"a 1\n", "set IN a -- -5", "a -5\n"},
        {"a \"x\" \n", "set IN A 5", "a \"5\" \n"},
        {"a \"x\"\n", "set IN a 5 --type=integer", "a 5\n"},
        {"a fast\n", "set IN a 'very slow'", "a \"very slow\"\n"},
        {"a <kuid:1:2> \n", "set IN a '<kuid:3:4>'", "a <kuid:3:4> \n"},
        {"a\nb 1", "set IN a 2", "a 2\nb 1"},
        {"a 2\nb 1", "set IN --type none a ''", "a\nb 1"},
        {"a 1\nb { a 2 }", "set IN b/a 3", "a 1\nb { a \"3\" }"},
        {"b { a 2 }\n", "set IN b/a 3 --type integer", "b { a 3\n }\n"},
        {"a 1\na 2\n", "set IN a 3", "a 3\na 2\n"},
        {"a caf\xE9\n", "set IN a th\xC3\xA9", "a \"th\xE9\"\n"},
        {utf8 + "a x\n", "set IN a \xE6\x97\xA5", utf8 + "a \"\xE6\x97\xA5\"\n"},
        {"a \"x\"\n", "set IN a \"$(printf 'l\\nm')\"", "a \"l\r\nm\"\n"},
        // New tags.
        {"", "set IN Mass 5", "mass                                    5\r\n"},
        {utf8, "set IN a ''", utf8 + "a                                       \"\"\r\n"},
        {"a 1", "set IN b x", "a 1\r\nb                                       \"x\"\r\n"},
        {"box\n{\n\ta 1  \n}\nz", "set IN box/b 2",
         "box\n{\n\ta 1  \n\tb                                      2\n}\nz"},
        {" box {\n }", "set IN box/b 2", " box {\n   b                                    2\n }"},
        {"box {}\n", "set IN box/b 2", "box {\n  b                                     2\n}\n"},
        // Removed tags.
        {"a 1\n  b 2 \r\nc 3", "remove IN b", "a 1\nc 3"},
        {"a 1\nb\n{\n c 2\n}\nd 3\n", "remove IN b", "a 1\nd 3\n"},
        {"a \"x\" b 2\n", "remove IN a", " b 2\n"},
        {"b { a 2 }", "remove IN B/a", "b { }"},
        {utf8 + "a 1\nb 2", "remove IN a", utf8 + "b 2"},
        {"a 1\nb 2", "remove IN b", "a 1\n"},
    };
    for (const auto& [before, words, after] : rows) {
        SCOPED_TRACE(words + ("\n" + before));
        folder_.Write("in.txt", before);
        std::string line = words;
        line.replace(line.find("IN"), 2, "in.txt");
        const Outcome run = Va("tag " + line);
        EXPECT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(folder_.Read("in.txt"), after);
    }
    EXPECT_EQ(Names(), "in.txt ");
}

TEST_F(VaEditing, WhatATextCannotHoldLeavesItAsItIs) {
    const std::string text = "a 1\nbox { n 5 }\ntext \"x\"\nopen \"y";
    folder_.Write("in.txt", text);
    ExpectAnswers({
        {"tag set in.txt a 'say \"hi\"'", 2, "this text cannot hold 'a' like that"},
        {"tag set in.txt a '<kuid:1:2>' --type=text", 2, "cannot hold"},
        {"tag set in.txt a \xE6\x97\xA5", 2, "cannot hold"},
        {"tag set in.txt 'a b' 1", 2, "cannot hold"},
        {"tag set in.txt box/m 1", 2, "another tag would read differently"},
        {"tag set in.txt new 1", 2, "another tag would read differently"},
        {"tag set in.txt box 1", 2, "'box' in 'in.txt' is a container"},
        {"tag set in.txt a/b 1", 2, "is not a container"},
        {"tag set in.txt a 99999999999", 7, "the number does not fit"},
        {"tag set in.txt a x --type=float", 7, "'x' cannot be set: it is not of type float"},
        {"tag set in.txt a 1 --type=none", 7, "takes an empty VALUE"},
        {"tag set in.txt a 1 --type=number", 7, "one of auto, integer"},
        {"tag set in.txt nope/a 1", 9, "there is no tag 'nope' at the top: it has a, box, text"},
        {"tag remove in.txt box/m", 9, "there is no tag 'm' in 'box': it has n"},
        {"tag set in.txt / 1", 7, "names no tag"},
    });
    EXPECT_EQ(folder_.Read("in.txt"), text);
}

TEST_F(VaEditing, OneValueOfABinaryFileChanges) {
    const std::string rest = Record("Box", 0, Record("c", 3, "x\0"s)) + Record("r", 4, "\1\2"s);
    folder_.Write("in.chump", ChunkFile(Record("a", 2, "\0\0\xC0\x3F"s) + rest));
    ExpectAnswers({{"tag set in.chump a 2", 0, "in.chump: a 1.5 -> 2.0"}});
    EXPECT_EQ(folder_.Read("in.chump"), ChunkFile(Record("a", 2, "\0\0\0\x40"s) + rest));
    ExpectAnswers({{"tag set in.chump box/C 'say \"hi\"'", 0, "box/C"},
                   {"tag set in.chump 'Box/New one' 7", 0, "new 7"},
                   {"tag remove in.chump a", 0, "in.chump: a removed\n"}});
    EXPECT_EQ(folder_.Read("in.chump"), ChunkFile(Record("Box", 0,
                                                         Record("c", 3, "say \"hi\"\0"s) +
                                                             Record("New one", 1, "\7\0\0\0"s)) +
                                                  Record("r", 4, "\1\2"s)));
}

TEST_F(VaEditing, FormatLaysOutLinesAndKeepsNamesAndValues) {
    const std::string column(39, ' ');
    const Table<std::string, std::string> rows = {
        {"; a  note \nMass\t 1.50 \n\n\nlast 1, 2",
         "; a  note \nMass" + column.substr(3) + "1.50\nlast" + column.substr(3) + "1, 2\n"},
        {"b { mode 5 }\n\n", "b\n{\n  mode" + column.substr(5) + "\"5 \"\n}\n"},
        {"a \"x\ny\"  z fast car\n", "a" + column + "\"x\ny\"\nz" + column + "fast car\n"},
        {"\xEF\xBB\xBF"
         "a\n\nb\n{ }",
         "\xEF\xBB\xBF"
         "a\n\nb\n{\n}\n"},
    };
    for (const auto& [before, after] : rows) {
        SCOPED_TRACE(before);
        folder_.Write("in.txt", before);
        EXPECT_EQ(Va("tag format --check in.txt").exitCode, 1);
        EXPECT_EQ(Va("tag format in.txt").out, "in.txt\n");
        EXPECT_EQ(folder_.Read("in.txt"), after);
        EXPECT_EQ(Va("tag format --check in.txt").exitCode, 0);
    }
    // What to-text writes is laid out.
    folder_.Write("in/a.chump", ChunkFile(Record("a", 0, Record("b", 0, "")) +
                                          Record("c", 0, Record("d", 3, "x\0"s)) +
                                          Record("e", 1, "\1\0\0\0\2\0\0\0"s)));
    ExpectAnswers({{"tag to-text --ignore=other-type --out-dir=in in", 0, "1 description"},
                   {"tag format --check in", 0, "1 text, 0 to format"},
                   {"tag format in/a.chump", 2, "is in the binary form"},
                   {"tag format - <in/a.txt -o new.txt", 0, "1 text, 0 formatted"},
                   {"tag format -o one.txt in/a.txt in.txt", 7, "-o takes the result of one"}});
    EXPECT_EQ(folder_.Read("new.txt"), folder_.Read("in/a.txt"));
    // What would be lost or read differently stays.
    for (const std::string& text : {"a  1\n}\nlost 2"s, "a  1\0 lost"s, "a  \"x"s}) {
        folder_.Write("odd.txt", text);
        ExpectAnswers({{"tag format odd.txt", 2, "'odd.txt' stays as it is"}});
        EXPECT_EQ(folder_.Read("odd.txt"), text);
    }
    std::string deep;
    for (int i = 0; i < 50000; ++i) deep += "a {\n";
    folder_.Write("deep.txt", deep);
    ExpectAnswers({{"tag format deep.txt", 2, "nested too deeply"}});
}

TEST_F(VaEditing, TheResultGoesWhereItIsSafe) {
    folder_.Write("in.txt", "a 1\n", fs::perms{0600});
    folder_.Write("other.txt", "mine");
    Pack("Town.va", "a.txt", "a 1\n");
    fs::create_symlink("in.txt", folder_.Path("link.txt"));
    fs::last_write_time(folder_.Path("in.txt"), fs::file_time_type::clock::now() - 1h);
    const auto time = fs::last_write_time(folder_.Path("in.txt"));
    ExpectAnswers({
        {"tag set in.txt a 1", 0, "in.txt: a 1 -> 1\n"},
        {"tag set -n in.txt a 2", 0, "in.txt: a 1 -> 2"},
        {"tag set -o - in.txt a 2", 0, "a 2\n"},
        {"tag set - a 2 < in.txt", 0, "a 2\n"},
        {"tag remove -o new.txt Town.va:a.txt a", 0, "new.txt: a removed"},
        {"tag set Town.va:a.txt a 2", 7, "archives are only read here; name a file"},
        {"tag set -o other.txt in.txt a 2", 2, "'other.txt' exists"},
        {"tag set link.txt a 2", 2, "'link.txt' is a link"},
        {"tag set nowhere.txt a 2", 9, "there is no file 'nowhere.txt'"},
        {"tag set . a 2", 7, "gives 3 descriptions; this command changes one"},
    });
    EXPECT_EQ(fs::last_write_time(folder_.Path("in.txt")), time);
    EXPECT_EQ(folder_.Read("in.txt"), "a 1\n");
    EXPECT_EQ(folder_.Read("new.txt"), "");
    EXPECT_EQ(folder_.Read("other.txt"), "mine");
    EXPECT_EQ(Va("tag set in.txt a 2").exitCode, 0);
    EXPECT_EQ(fs::status(folder_.Path("in.txt")).permissions(), fs::perms{0600});
    EXPECT_EQ(Va("tag set -f -o other.txt in.txt a 3").exitCode, 0);
    EXPECT_EQ(folder_.Read("in.txt") + folder_.Read("other.txt"), "a 2\na 3\n");
}

}  // namespace
}  // namespace Vorn::Testing
