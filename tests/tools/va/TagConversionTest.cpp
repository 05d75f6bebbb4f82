#include <csignal>

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
    ExpectAnswers({{"tag to-binary config.txt config.chump", 0, ""},
                   {"tag to-text config.chump back.txt", 0, ""}});
    EXPECT_EQ(
        folder_.Read("config.chump"),
        ChunkFile(Record("kuid", 13, "\x0C\0\0\0\x22\0\0\0"s) + Record("mass", 2, "\0\0\xC0\x3F"s) +
                  Record("engine", 0, Record("notch", 3, "a b\0"s))));
    EXPECT_EQ(folder_.Read("back.txt"), text);
}

TEST_F(VaConversion, MembersOfArchivesAreReadAndArchivesStayAsTheyAre) {
    Pack("Town.va", "trains/engine.cdp", kSeven);
    Pack("Torn.va", "a.txt", Prose(40000));
    std::string torn = folder_.Read("Torn.va");
    folder_.Write("Torn.va", torn.replace(2000, 4000, 4000, '\xFF'));
    Pack("Lost.va", "a.txt", Prose(40000));
    std::string lost = folder_.Read("Lost.va");
    folder_.Write("Lost.va", lost.replace(lost.find("CFIL") + 12, 40, 40, '\xFF'));
    Pack("Flipped.va", "a.txt", "n 5");
    std::string flipped = folder_.Read("Flipped.va");
    folder_.Write("Flipped.va", flipped.replace(flipped.find("n 5"), 3, "n 6"));
    folder_.Write("mine.chump", "mine");
    folder_.Write("odd.va:name.txt", "n 5");
    folder_.Write("none.va", "not an archive");
    const std::string before = folder_.Read("Town.va");
    ExpectAnswers({
        {"tag to-text 'Town.VA:Trains\\engine.cdp' engine.txt", 0, ""},
        {"tag get engine.txt a", 0, "7\n"},
        {"tag get odd.va:name.txt n", 0, "5\n"},
        {"tag check Town.va:trains/none.txt", 9, "nothing in 'Town.va' matches 'trains/none.txt'"},
        {"tag check Village.va:a.txt", 9, "Village.va: there is no such file"},
        {"tag check none.va:a.txt", 2, "none.va: it does not begin with \"ARCH\""},
        {"tag check Town.va", 2,
         "'Town.va' is an archive, not a description; Town.va:** names those in it"},
        {"tag check none.txt", 9, "there is no file 'none.txt'"},
        {"tag to-binary Torn.va:a.txt a.chump", 2, "Torn.va: a.txt: a block of its compressed"},
        {"tag to-binary --force Lost.va:a.txt mine.chump", 2, "Lost.va: a.txt: a block of its"},
        {"tag to-binary --force Flipped.va:a.txt mine.chump", 2, "disagrees with its check sum"},
    });
    EXPECT_EQ(folder_.Read("mine.chump"), "mine");
    EXPECT_EQ(folder_.Read("Town.va"), before);
    EXPECT_EQ(Names(),
              "Flipped.va Lost.va Torn.va Town.va engine.txt mine.chump none.va odd.va:name.txt ");
}

TEST_F(VaConversion, OnlyForceReplacesAFile) {
    folder_.Write("in.chump", kSeven);
    folder_.Write("out.txt", "mine");
    folder_.Write("target.txt", "theirs");
    fs::create_symlink("target.txt", folder_.Path("link.txt"));
    fs::create_directory(folder_.Path("folder.txt"));
    ExpectAnswers({{"tag to-text in.chump out.txt", 2, "va: 'out.txt' exists; -f replaces it"},
                   {"tag to-text -n in.chump out.txt", 2, "va: 'out.txt' exists; -f replaces it"},
                   {"tag to-text -nf in.chump out.txt", 0, ""}});
    EXPECT_EQ(folder_.Read("out.txt"), "mine");
    ExpectAnswers(
        {{"tag to-text --force in.chump out.txt", 0, ""},
         {"tag get out.txt a", 0, "7\n"},
         {"tag to-text -n in.chump link.txt --force", 0, "link.txt is a link; it would be"},
         {"tag to-text in.chump link.txt --force", 0,
          "note: link.txt was a link; it was replaced, and its target kept\n"},
         {"tag to-binary --force in.chump in.chump", 0, ""},
         {"tag to-text --force in.chump folder.txt", 2, "'folder.txt' is a folder"},
         {"tag to-text in.chump absent/out.txt", 9, "its folder does not exist"}});
    const std::string longest = std::string(251, 'n') + ".txt";
    ExpectAnswers({{"tag to-text in.chump " + longest, 0, ""}});
    fs::remove(folder_.Path(longest));
    EXPECT_EQ(folder_.Read("target.txt"), "theirs");
    EXPECT_EQ(folder_.Read("in.chump"), kSeven);
    EXPECT_EQ(Names(), "folder.txt in.chump link.txt out.txt target.txt ");
}

TEST_F(VaConversion, StandardStreamsAreInputAndOutput) {
    folder_.Write("a.txt", "a 7\n");
    EXPECT_EQ(Va("tag to-binary a.txt -").out, kSeven);
    EXPECT_EQ(Va("tag to-binary - - < a.txt").out, kSeven);
    ExpectAnswers(
        {{"tag to-binary - a.chump < a.txt", 0, ""},
         {"tag to-text - - < a.chump", 0, "a                                       7\r\n"},
         {"tag to-binary a.txt - >/dev/full", 50, "standard output cannot be written"},
         {"tag to-binary --out-dir=out - < a.txt", 7, "standard input has no name"}});
    EXPECT_EQ(folder_.Read("a.chump"), kSeven);
}

TEST_F(VaConversion, ManyInputsGoToAFolder) {
    folder_.Write("in/a.txt", "a 7\n");
    folder_.Write("in/sub/b.txt", "a 7\n");
    folder_.Write("in/sub/b.md", "no description");
    Pack("Town.va", "trains/c.txt", "a 7\n");
    Outcome run = Va("tag to-binary -n --out-dir=out in 'Town.va:**'");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "out  3 descriptions would be written\n");
    EXPECT_EQ(Names(), "Town.va in ");
    run = Va("tag to-binary -v --out-dir=out in 'Town.va:**'");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err,
              "in/a.txt -> out/a.chump\nin/sub/b.txt -> out/sub/b.chump\n"
              "Town.va:trains/c.txt -> out/trains/c.chump\nout  3 descriptions written\n");
    for (const char* name : {"out/a.chump", "out/sub/b.chump", "out/trains/c.chump"}) {
        EXPECT_EQ(folder_.Read(name), kSeven) << name;
    }
    // What exists is found before anything is written, and named.
    folder_.Write("in/new.txt", "a 7\n");
    run = Va("tag to-binary --out-dir out in");
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err,
              "va: 'out/a.chump', 'out/sub/b.chump' exist; -f replaces "
              "them\n");
    EXPECT_FALSE(fs::exists(folder_.Path("out/new.chump")));
    folder_.Write("in/bad.chump", "no tags");
    folder_.Write("in/a.cdp", kSeven);
    fs::create_directory(folder_.Path("else"));
    fs::create_directory(folder_.Path("links"));
    fs::create_directory_symlink("../else", folder_.Path("links/sub"));
    ExpectAnswers({
        {"tag to-binary -f --out-dir=out in", 2, "several inputs would become 'out/a.chump'"},
        {"tag to-binary -f --out-dir=out in --exclude='*.cdp' nowhere", 2, "out  3 descriptions"},
        {"tag to-binary --out-dir=links in --exclude='**/*.c*'", 2,
         "a file or a link is in the way"},
        {"tag to-binary in out.chump", 7, "which need --out-dir"},
    });
    EXPECT_EQ(folder_.Read("out/new.chump"), kSeven);
    EXPECT_TRUE(fs::is_empty(folder_.Path("else")));
}

TEST_F(VaConversion, WhatReplacesAFileKeepsItsPermissions) {
    const auto modeOf = [&](const char* name) {
        return static_cast<unsigned>(fs::status(folder_.Path(name)).permissions());
    };
    folder_.Write("in.txt", "a 7\n");
    folder_.Write("private.chump", "mine", fs::perms{0600});
    folder_.Write("shared.chump", "ours", fs::perms{0664});
    folder_.Write("fixed.chump", "theirs", fs::perms{0444});
    ASSERT_EQ(Shell("mkfifo " + folder_.Path("pipe.chump")), 0);
    fs::create_symlink("private.chump", folder_.Path("link.chump"));
    for (const auto& [name, code, mode, told] : Table<std::string, int, unsigned, const char*>{
             {"private.chump", 0, 0600, ""},
             {"shared.chump", 0, 0664, ""},
             {"new.chump", 0, 0640, ""},
             {"link.chump", 0, 0640, ""},  // the link goes, what it leads to stays
             {"fixed.chump", 2, 0444, "'fixed.chump' is read-only and stays as it is"},
             {"pipe.chump", 2, 0644, "'pipe.chump' is a device or a pipe"}}) {
        SCOPED_TRACE(name);
        const Outcome run = Va("tag to-binary --force in.txt " + name, "umask 027;");
        EXPECT_EQ(run.exitCode, code);
        EXPECT_THAT(run.err, HasSubstr(told));
        EXPECT_EQ(modeOf(name.c_str()), mode);
        EXPECT_EQ(folder_.Read(code == 0 ? name : "in.txt"), code == 0 ? kSeven : "a 7\n");
    }
    EXPECT_EQ(folder_.Read("fixed.chump"), "theirs");
    EXPECT_TRUE(fs::is_fifo(folder_.Path("pipe.chump")));
}

// Read by anybody, even for a moment, it would be no secret.
TEST_F(VaConversion, APrivateFileIsReplacedByOneThatWasNeverReadable) {
    folder_.Write("in.txt", "a 7\n");
    folder_.Write("out.chump", "mine", fs::perms{0600});
    const std::string trace = folder_.Path("trace");
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "a traced run is needed";
    }
    ASSERT_EQ(
        Shell("cd " + folder_.Path() + "; strace -o " + trace +
              " -e chmod,fchmod,fchmodat,linkat " VA " tag to-binary --force in.txt out.chump"),
        0);
    const std::string calls = folder_.Read("trace");
    const std::size_t hidden = calls.find(".out.chump.va-");
    ASSERT_NE(hidden, calls.npos) << calls;
    EXPECT_LT(calls.find("0600"), hidden) << calls;
}

TEST_F(VaConversion, AFileThatCannotBeWrittenToItsEndIsNotThere) {
    folder_.Write("in.txt", "a \"" + Prose(3000000) + "\"");
    folder_.Write("out.chump", "mine");
    // A limit on the size of files whose signal is ignored: writes then fall short.
    const Outcome run =
        Va("tag to-binary --force in.txt out.chump", "trap '' XFSZ; ulimit -f 1024;");
    EXPECT_EQ(run.exitCode, 50);
    EXPECT_THAT(run.err, HasSubstr("cannot write 'out.chump': File too large"));
    EXPECT_EQ(folder_.Read("out.chump"), "mine");
    EXPECT_EQ(Names(), "in.txt out.chump ");
}

TEST_F(VaConversion, ARunThatASignalEndsLeavesNothingHalfMade) {
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "a traced run is needed";
    }
    folder_.Write("in.txt", "a 7\n");
    const auto run = [&](const std::string& signal, int nth, const std::string& before = {}) {
        folder_.Write("out.chump", "mine");
        return Shell("cd " + folder_.Path() + "; " + before +
                     " strace -o /dev/null -e inject=openat,write,fsync,rename:signal=" + signal +
                     ":when=" + std::to_string(nth) +
                     " " VA " tag to-binary --force in.txt out.chump 2>/dev/null");
    };
    for (const auto& [signal, number] : Table<std::string, int>{
             {"HUP", SIGHUP}, {"INT", SIGINT}, {"PIPE", SIGPIPE}, {"TERM", SIGTERM}}) {
        int nth = 1;
        for (int code = -1; code != 0; ++nth) {
            SCOPED_TRACE(signal + " at call " + std::to_string(nth));
            code = run(signal, nth);
            ASSERT_TRUE(code == 0 || code == 128 + number) << code;
            EXPECT_THAT(folder_.Read("out.chump"), testing::AnyOf("mine", kSeven));
            ASSERT_EQ(Names(), "in.txt out.chump ");
        }
        EXPECT_GT(nth, 5);
    }
    for (int nth = 1; nth < 12; ++nth) EXPECT_EQ(run("HUP", nth, "trap '' HUP;"), 0) << "ignored";
}

TEST_F(VaConversion, WhatTheOtherFormCannotHoldIsNamed) {
    folder_.Write("in.chump",
                  ChunkFile(Record("Raw", 4, "\1\2"s) + Record("exact", 2, "\xDB\x0F\x49\x40"s) +
                            Record("fine", 1, "\1\0\0\0"s)));
    EXPECT_EQ(Va("tag to-text in.chump out.txt").err,
              "in.chump: offset 16: loss: the name is written differently: Raw [name-folded]\n"
              "in.chump: offset 16: loss: raw bytes are not written as text: Raw [raw-bytes]\n"
              "in.chump: offset 28: loss: the float has more digits than are written: exact "
              "[float-rounded]\n");
    ExpectAnswers({{"tag get out.txt exact", 0, "3.14159\n"}});

    folder_.Write("odd.txt", "a 99999999999\nPi 3.14159265\nk <kuid:20000000:1>\n");
    const std::string odd =
        "odd.txt:1:3: warning: the number does not fit; the nearest one is taken: a "
        "[number-range]\n"
        "odd.txt:2:1: loss: capital letters of the name become small ones: Pi [name-lowered]\n"
        "odd.txt:2:4: loss: the number has more digits than a float holds: pi [number-rounded]\n"
        "odd.txt:3:1: warning: the KUID's user number does not fit and becomes another: k "
        "[kuid-range]\n";
    EXPECT_EQ(Va("tag to-binary odd.txt odd.chump").err, odd);
    EXPECT_EQ(Va("tag check odd.txt").out,
              odd + "odd.txt: text form, 3 tags, 2 warnings, 2 losses in the binary form\n");
    ExpectAnswers({{"tag to-binary --force odd.txt odd.chump", 1, "*"},
                   {"tag get odd.chump pi", 0, "3.1415927\n"}});
    folder_.Write("odd.txt", "Pi 3.14159265\n");
    ExpectAnswers({{"tag get odd.txt Pi", 0, "3.1415927\n"}, {"tag print odd.txt", 0, "pi "}});

    folder_.Write("in.txt", "a 1\nb\n{\n  " + std::string(300, 'n') + " 2\n}\n");
    const std::string told = "in.txt:4:3: loss: the name has more than 254 bytes: b/nnn";
    folder_.Write("none.txt", "");
    ExpectAnswers({{"tag to-binary in.txt out.chump", 2, told},
                   {"tag check in.txt", 1, told},
                   {"tag check none.txt", 1, "none.txt:1:1: loss: a chunk file without records"}});
    EXPECT_EQ(Names(), "in.chump in.txt none.txt odd.chump odd.txt out.txt ");
}

}  // namespace
}  // namespace Vorn::Testing
