// The program around the tool: many files, the log, standard output.
#include "tests/KernelStandard/FileLayer.h"
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

class Program : public ArchiveProgram {};

TEST_F(Program, SixtyThousandFilesInTwentyThousandFoldersComeBack) {
    const int folders = VORN_SANITIZED ? 2'000 : 20'000;
    Files files;
    for (int i = 0; i < folders; ++i) {
        const std::string number = std::to_string(i);
        const std::string path = "kind" + std::to_string(i % 7) + "/asset" + number + "/";
        for (const char* name : {"config.txt", "mesh.im", "wall.tga"}) {
            files[path + name] = name + number;
        }
    }
    for (const auto& [name, content] : files) folder.Write("in/" + name, content);
    const std::string end = "\nProcessed " + std::to_string(files.size()) + " files.\n";
    EXPECT_TRUE(Run("-r -k a ../x.va '*'", "cd in && exec").printed.ends_with(end));
    EXPECT_EQ(CountOf(" .. ", Do("-r l x.va")), files.size());
    EXPECT_TRUE(Unpack("x.va") == files);
}

TEST_F(Program, SeventyThousandMembersCanBeListedAddedToAndExtracted) {
    constexpr int kAssets = 23'400;
    std::vector<RawMember> members;
    Files some;
    for (int i = 0; i < kAssets; ++i) {
        const std::string number = std::to_string(i);
        const bool isSome = i % 100 == 3;
        for (const std::string name : {"/config.txt", "/mesh.im", "/wall.tga"}) {
            const std::string path = (isSome ? "some/" : "rest/") + number + name;
            members.push_back({path, name + number});
            if (isSome) some[path] = name + number;
        }
    }
    folder.Write("x.va", RawArchive(members));
    folder.Write("new", "");
    Do("a x.va new");
    EXPECT_EQ(CountOf(" .. ", Do("-r l x.va")), members.size() + 1);
    fs::create_directory("out");
    EXPECT_EQ(Run("-r -k e ../x.va 'some/*'", "cd out && exec").exitCode, 0);
    EXPECT_TRUE(FilesIn("out") == some);
    EXPECT_EQ(Run("-r -k a ../y.va '*'", "cd out && exec").exitCode, 0);
    EXPECT_TRUE(Unpack("y.va") == some);
}

// As a shell expands a wildcard that is not quoted.
TEST_F(Program, AFolderIsNotListedAnewForEachOfItsFiles) {
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "needs strace, and a program that it can follow";
    }
    for (int i = 0; i < 100; ++i) folder.Write("in/" + std::to_string(i), "");
    const Outcome outcome = Run("a x.va in/*", "strace -o calls -e trace=getdents64");
    EXPECT_TRUE(outcome.printed.ends_with("\nProcessed 100 files.\n"));
    const auto listings = CountOf("getdents64(", folder.Read("calls"));
    EXPECT_GT(listings, 0U);
    EXPECT_LT(listings, 50U);
}

TEST_F(Program, ALogIsWrittenOnlyWhenItIsAskedFor) {
    folder.Write("a.txt", "1");
    const Table<std::string, std::string, std::string> rows = {
        {"a x.va a.txt", "", ""},
        {"a x.va a.txt", "VArchiveOptions='-LogFile=log.txt'", "log.txt"},
        {"'-LogFile=my log' a x.va a.txt", "VArchiveOptions='-LogFile=log.txt'", "my log"},
        {"-LogFile= a x.va a.txt", "Options='-LogFile=log.txt'", ""},
        {"-c -k a x.va a.txt", "", ""},
        {"-k a x.va a.txt", "VArchiveOptions=\"-LogFile=it's\"", "it's"},
    };
    for (const auto& [words, before, log] : rows) {
        SCOPED_TRACE(words);
        EXPECT_EQ(Run(words, before).exitCode, 0);
        EXPECT_TRUE(log.empty() || folder.Read(log).ends_with("Begin:\r\nEnd.\r\n"));
        if (!log.empty()) fs::remove(log);
        EXPECT_EQ(NamesIn(FilesIn(".")), (Names{"a.txt", "x.va"}));
    }
}

TEST_F(Program, LinesThatCannotBePrintedAreAFailure) {
    folder.Write("a.txt", "1");
    for (const char* words : {"a x.va a.txt", "l x.va", "--help", "--version"}) {
        EXPECT_EQ(Shell(VARCHIVE " "s + words + " >/dev/full 2>problem"), 1) << words;
        EXPECT_EQ(folder.Read("problem"), "VArchive: cannot write all lines to standard output\n");
    }
}

TEST_F(Program, TheConverterCarriesTheTool) {
    EXPECT_EQ(Shell("grep -q 'Vorn Archiver v1.9' " VACONVERTER), 0);
}

}  // namespace
}  // namespace Vorn::Testing
