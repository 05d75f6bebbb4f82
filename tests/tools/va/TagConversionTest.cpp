#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using VaConversion = VaProgram;

const std::string kSeven = ChunkFile(Record("a", 1, "\7\0\0\0"s));

TEST_F(VaConversion, TheFormsTurnIntoEachOther) {
    const std::string text =
        "kuid                                    <kuid:12:34>\r\n"
        "mass                                    1.5\r\n\r\n"
        "engine\r\n{\r\n  notch                                 \"a b\"\r\n}\r\n";
    folder_.Write("config.txt", text);
    const Outcome there = Va({"tag", "to-binary", "config.txt", "config.chump"});
    EXPECT_EQ(there.exitCode, 0) << there.err;
    EXPECT_EQ(
        folder_.Read("config.chump"),
        ChunkFile(Record("kuid", 13, "\x0C\0\0\0\x22\0\0\0"s) + Record("mass", 2, "\0\0\xC0\x3F"s) +
                  Record("engine", 0, Record("notch", 3, "a b\0"s))));
    const Outcome back = Va({"tag", "to-text", "config.chump", "back.txt"});
    EXPECT_EQ(back.exitCode, 0) << back.err;
    EXPECT_EQ(folder_.Read("back.txt"), text);
    EXPECT_EQ(there.out + there.err + back.out + back.err, "");
}

TEST_F(VaConversion, MembersOfArchivesAreReadAndArchivesStayAsTheyAre) {
    Pack("Town.va", "trains/engine.cdp", kSeven);
    const std::string before = folder_.Read("Town.va");
    EXPECT_EQ(Va({"tag", "to-text", "Town.VA:Trains\\engine.cdp", "engine.txt"}).exitCode, 0);
    EXPECT_THAT(folder_.Read("engine.txt"), testing::MatchesRegex("a +7\r\n"));
    EXPECT_EQ(Va({"tag", "get", "Town.va:trains/engine.cdp", "a"}).out, "7\n");

    folder_.Write("odd.va:name.txt", "n 5");
    EXPECT_EQ(Va({"tag", "get", "odd.va:name.txt", "n"}).out, "5\n") << "a file that is there";
    folder_.Write("none.va", "not an archive");
    const Table<const char*, int, const char*> rows = {
        {"Town.va:trains/none.txt", 9, "has no member 'trains/none.txt'"},
        {"Town.va:trains", 9, "has no member"},
        {"Village.va:a.txt", 9, "there is no archive 'Village.va'"},
        {"none.va:a.txt", 2, "'none.va' is not an archive"},
        {"none.txt", 9, "there is no file 'none.txt'"},
        {".", 2, "cannot read '.'"},
    };
    for (const auto& [input, code, told] : rows) {
        SCOPED_TRACE(input);
        const Outcome run = Va({"tag", "check", input});
        EXPECT_EQ(run.exitCode, code);
        EXPECT_THAT(run.err, HasSubstr(told));
    }
    EXPECT_EQ(folder_.Read("Town.va"), before);
    EXPECT_THAT(Names(), ElementsAre("Town.va", "engine.txt", "none.va", "odd.va:name.txt"));
}

TEST_F(VaConversion, ADamagedMemberIsRefused) {
    Pack("Town.va", "a.txt", Prose(40000));
    std::string bytes = folder_.Read("Town.va");
    std::fill_n(bytes.begin() + 2000, 4000, '\xFF');
    folder_.Write("Town.va", bytes);
    const Outcome run = Va({"tag", "to-binary", "Town.va:a.txt", "a.chump"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.err, HasSubstr("the member 'a.txt' in 'Town.va' is damaged"));
    EXPECT_THAT(Names(), ElementsAre("Town.va"));
}

TEST_F(VaConversion, OnlyForceReplacesAFile) {
    folder_.Write("in.chump", kSeven);
    folder_.Write("out.txt", "mine");
    const Outcome refused = Va({"tag", "to-text", "in.chump", "out.txt"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_THAT(refused.err, HasSubstr("--force replaces it"));
    EXPECT_EQ(folder_.Read("out.txt"), "mine");

    EXPECT_EQ(Va({"tag", "to-text", "--force", "in.chump", "out.txt"}).exitCode, 0);
    EXPECT_THAT(folder_.Read("out.txt"), testing::StartsWith("a "));

    folder_.Write("target.txt", "theirs");
    fs::create_symlink("target.txt", folder_.Path("link.txt"));
    EXPECT_EQ(Va({"tag", "to-text", "in.chump", "link.txt", "--force"}).exitCode, 0);
    EXPECT_EQ(folder_.Read("target.txt"), "theirs");

    EXPECT_EQ(Va({"tag", "to-binary", "--force", "in.chump", "in.chump"}).exitCode, 0);
    EXPECT_EQ(folder_.Read("in.chump"), kSeven);
    fs::create_directory(folder_.Path("folder.txt"));
    for (const char* out : {"folder.txt", "absent/out.txt"}) {
        EXPECT_EQ(Va({"tag", "to-text", "--force", "in.chump", out}).exitCode, 2) << out;
    }
    EXPECT_THAT(Names(),
                ElementsAre("folder.txt", "in.chump", "link.txt", "out.txt", "target.txt"));
}

TEST_F(VaConversion, AFileThatCannotBeWrittenToItsEndIsNotThere) {
    folder_.Write("in.txt", "a \"" + Prose(3000000) + "\"");
    folder_.Write("out.chump", "mine");
    // A limit on the size of files, 512 KiB, whose signal is ignored: writes then fall short.
    const Outcome run =
        Va({"tag", "to-binary", "--force", "in.txt", "out.chump"}, "trap '' XFSZ; ulimit -f 1024;");
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.err, HasSubstr("cannot write 'out.chump': File too large"));
    EXPECT_EQ(folder_.Read("out.chump"), "mine");
    EXPECT_THAT(Names(), ElementsAre("in.txt", "out.chump"));
}

TEST_F(VaConversion, WhatTheOtherFormCannotHoldIsNamed) {
    folder_.Write("in.chump",
                  ChunkFile(Record("Raw", 4, "\1\2"s) + Record("exact", 2, "\xDB\x0F\x49\x40"s) +
                            Record("fine", 1, "\1\0\0\0"s)));
    const Outcome text = Va({"tag", "to-text", "in.chump", "out.txt"});
    EXPECT_EQ(text.exitCode, 1);
    EXPECT_THAT(text.err, HasSubstr("in.chump: offset 16: loss: "));
    EXPECT_THAT(text.err, HasSubstr("raw bytes are not written as text: Raw\n"));
    EXPECT_THAT(text.err, HasSubstr("the name is written differently: Raw\n"));
    EXPECT_THAT(text.err, HasSubstr("in.chump: offset 28: loss: the float has more digits"));
    EXPECT_THAT(text.err, testing::Not(HasSubstr("fine")));
    EXPECT_THAT(folder_.Read("out.txt"),
                HasSubstr("exact                                   3.14159"));

    folder_.Write("in.txt", "a 1\nb\n{\n  " + std::string(300, 'n') + " 2\n}\n");
    const Outcome binary = Va({"tag", "to-binary", "in.txt", "out.chump"});
    EXPECT_EQ(binary.exitCode, 2);
    EXPECT_THAT(binary.err, HasSubstr("in.txt:4:3: loss: the name has more than 254 bytes: b/nnn"));
    EXPECT_THAT(Va({"tag", "check", "in.txt"}).out, HasSubstr("more than 254 bytes: b/nnn"));
    EXPECT_FALSE(folder_.Has("out.chump"));
}

}  // namespace
}  // namespace Vorn::Testing
