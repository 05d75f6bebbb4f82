// What the archive program reports about files, folders and archives that its command lines name
// and that it cannot find or read.
#include "tests/KernelStandard/FileLayer.h"
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

class UnfoundFiles : public ArchiveProgram {
protected:
    void WriteEmpty(const Names& names) const {
        for (const std::string& name : names) folder.Write(name, "");
    }
    // Standard error has one line for each of `skipped`, and no other.
    void ExpectSkipped(const std::string& words, const Names& skipped) const {
        SCOPED_TRACE(words);
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.exitCode, skipped.empty() ? 0 : 1) << outcome.printed;
        EXPECT_EQ(CountOf("\n", outcome.problems), skipped.size()) << outcome.problems;
        for (const std::string& name : skipped) {
            EXPECT_THAT(outcome.problems, HasSubstr("VArchive: skipped " + name + ": "));
        }
    }
};

TEST_F(UnfoundFiles, NamesThatDifferInLetterCaseOnlyAreReported) {
    WriteEmpty({"d/README", "d/Readme", "d/Sub/x", "d/sub/y"});
    const Table<std::string, Names> rows = {
        {"a x.va 'd/*'", {"d/Readme"}},
        {"-r a x.va 'd/*'", {"d/Readme", "d/sub"}},
        {"-r a x.va 'd/x'", {"d/sub"}},
        {"a x.va d/README", {}},
        {"-xREAD* -k a x.va 'd/Sub/*' 'd/*'", {}},
        {"l x.va", {}},
    };
    for (const auto& [words, left] : rows) ExpectSkipped(words, left);
    EXPECT_THAT(Fail("a x.va d/Readme").problems, HasSubstr("skipped d/Readme: "));
}

TEST_F(UnfoundFiles, NamesThatContainSignsOfAPathAreReported) {
    WriteEmpty({"d/a", "d/y", "d/sub/f"});
    WriteEmpty({"d/x:y", "d/C:z", "d/t:", "d/h:sub", "d/F::G/f", "d/b\\s", "d/e\\f/f"});
    const Table<std::string, Names, Names> rows = {
        {"-k a x.va 'd/*'", {"d/C:z", "d/b\\s", "d/h:sub", "d/t:", "d/x:y"}, {"d/a", "d/y"}},
        {"-k -r a x.va 'd/f*'", {"d/F::G", "d/e\\f"}, {"d/sub/f"}},
        {"-k '-xs;y' a x.va 'd/?'", {"d/C:z"}, {"d/a"}},
        {"-k a x.va 'd/a*'", {}, {"d/a"}},
    };
    for (const auto& [words, left, added] : rows) {
        fs::remove("x.va");
        ExpectSkipped(words, left);
        const Names names = fs::exists("x.va") ? NamesIn(Unpack("x.va")) : Names{};
        EXPECT_EQ(names, added);
    }
}

TEST_F(UnfoundFiles, MembersAndFoldersOfOneNameAreReported) {
    for (const bool fileFirst : {true, false}) {
        std::vector<RawMember> members = {{"d/A", "file"}, {"d/a/b", "below"}};
        if (!fileFirst) std::ranges::reverse(members);
        folder.Write("x.va", RawArchive(members));
        const std::string hidden = fileFirst ? "the folder d/a" : "d/A";
        ExpectSkipped("-r l x.va", {hidden});
        ExpectSkipped("-r -k -pto e x.va 'd/*'", {hidden});
        ExpectSkipped("l x.va 'd/*'", fileFirst ? Names{} : Names{hidden});
        ExpectSkipped("l x.va 'd/a/*'", {});
    }
}

TEST_F(UnfoundFiles, TargetsAndFoldersAreNamed) {
    Write({{"other", "no archive"}, {"d/a", ""}});
    Do("-k a x.va 'd/*'");
    const Table<std::string, std::string> rows = {
        {"a no/x.va d/a", "Open new archive failed: no/x.va\n"},
        {"e no/x.va", "Open new archive failed: no/x.va\n"},
        {"l missing.va", "VArchive: there was no archive missing.va; an empty one was created\n"},
        {"l other", "VArchive: cannot read other as an archive\n"},
        {"a other d/a", "VArchive: cannot read other as an archive\n"},
        {"a x.va none", "VArchive: there is no file none\n"},
        {"a x.va none/*", "VArchive: there is no folder none/\n"},
        {"-r a x.va d", "VArchive: d is a folder; its files are d/*\n"},
        {"-k a x.va d/", "VArchive: d/ is a folder; its files are d/*\n"},
        {"e x.va d", "VArchive: d is a folder; its files are d/*\n"},
    };
    for (const auto& [words, problem] : rows) {
        SCOPED_TRACE(words);
        const Outcome outcome = Fail(words);
        EXPECT_THAT(outcome.problems, HasSubstr(problem));
        EXPECT_EQ(CountOf("\n", outcome.problems), 1U) << outcome.problems;
    }
    EXPECT_EQ(folder.Read("missing.va").size(), 52U);
    EXPECT_EQ(folder.Read("other"), "no archive");
    const std::string start = "- Warning, no input files found: command '\"e\" \"other\"'\n";
    EXPECT_TRUE(Run("e other").printed.starts_with(start + "Vorn Archiver v1.9\nUsage:\n"));
}

TEST_F(UnfoundFiles, LinesAfterTheTargetFindNothingAndTheCommandContinues) {
    Write({{"a.txt", "1"}, {"paths", "a.txt\n*\n"}});
    Do("a x.va a.txt");
    const std::string printed = Fail("l x.va @paths").printed;
    for (const char* line : {"command 'a.txt\n", "command '*\n", "\\a.txt\n"}) {
        EXPECT_THAT(printed, HasSubstr(line));
    }
}

TEST_F(UnfoundFiles, WhatCannotBeReadOrIsDamagedIsNamed) {
    folder.Write("bad", "CFIL\1\1\0\0\xFF\xFF\0\0\xFF\xFF"s + Noise(100));
    Do("a x.va bad");
    EXPECT_EQ(Fail("b x.va bad").problems, "VArchive: cannot read all of .\\bad\n");
    std::string archive = folder.Read("x.va");
    archive[archive.find("IDX ") - 1] ^= 1;
    folder.Write("x.va", archive);
    EXPECT_EQ(Fail("-pto e x.va").problems,
              "VArchive: .\\bad is damaged: its check sum does not match\n");
}

TEST_F(UnfoundFiles, AnArchiveThatWasCutIsReportedAndItsMembersAreRead) {
    Write({{"a.txt", "1"}, {"b.txt", "2"}});
    Do("a x.va a.txt b.txt");
    const std::string whole = folder.Read("x.va");
    const std::size_t index = whole.rfind("IDX ");
    for (const std::size_t size :
         {std::size_t{44}, index - 1, index, index + 50, whole.size() - 1}) {
        SCOPED_TRACE(size);
        folder.Write("cut.va", whole.substr(0, size));
        fs::remove_all("to");
        for (const char* words : {"l cut.va", "-pto e cut.va"}) {
            const Outcome outcome = Fail(words);
            EXPECT_THAT(outcome.problems, HasSubstr("VArchive: cut.va was cut or damaged: "));
            EXPECT_EQ(CountOf("a.txt", outcome.printed), size > 44 ? 1U : 0U);
        }
        EXPECT_EQ(folder.Read("to/to/a.txt"), size > 44 ? "1" : "");
        EXPECT_EQ(folder.Read("to/to/b.txt"), size >= index ? "2" : "");
    }
}

}  // namespace
}  // namespace Vorn::Testing
