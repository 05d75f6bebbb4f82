#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

using CommandLine = Workbench;

TEST_F(CommandLine, WhatCannotBeUsedIsRefusedAndNothingIsWritten) {
    for (const char* archive :
         {"old.va", "new.va", "new.va.va", "OLD.PBK", "...va", "..va", ".va"}) {
        Pack(archive, {{"a.va", "a"}});
    }
    folder_.Write("notes.txt", "");
    const std::string usage = "// TODO.Alden: Print usage";
    const std::string more = "// TODO.Alden: Print more usage";
    std::string longName = "x.va";
    while (longName.size() < 300) longName.insert(0, "xxxxxxxx");
    const auto invalid = [](const std::string& name) {
        return "Invalid input archive \"" + name + "\"";
    };
    const auto missing = [](const std::string& name) {
        return "Failed to find input archive \"" + name + "\"";
    };
    const Table<Arguments, Lines> rows = {
        {{}, {usage}},
        {{"patchdiff"}, {usage}},
        {{"patchdif", "old.va", "new.va", "out"}, {usage}},
        {{"patchdiff", "old.va"}, {more}},
        {{"patchdiff", "old.va", "new.va"}, {more}},
        {{"patchdiff", "none.va", "new.va"}, {missing("none.va"), more}},
        {{"patchdiff", longName, "new.va", "out"}, {missing(longName), more}},
        {{"PatchDiff", "notes.txt", "new.va", "out"}, {invalid("notes.txt"), more}},
        {{"patchdiff", "old.va", "OLD.PBK", "out"}, {invalid("OLD.PBK"), more}},
        {{"PATCHAPPLY", "old.va", "gone.va", "x"}, {invalid("gone.va"), more}},
        {{"patchdiff", "old.va", longName, "out"}, {invalid(longName), more}},
        {{"patchdiff", "new.va.va", "./new.va", "out"}, {invalid("new.va"), more}},
        // A member of the first archive is not a file.
        {{"patchdiff", "old.va", "old:a.va", "out"}, {invalid("old:a.va"), more}},
        // The working folder would not be a folder of its own.
        {{"patchdiff", "...va", "new.va", "out"}, {more}},
        {{"patchdiff", "..va", "new.va", "out"}, {more}},
        {{"patchdiff", ".va", "new.va", "out"}, {more}},
        {{"patchdiff", "old.va", "new.va", "notes.txt"}, {more}},
        {{"patchdiff", "old.va", "new.va", longName}, {more}},
    };
    const auto before = Tree();
    for (const auto& [arguments, lines] : rows) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome outcome = Convert(arguments);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.lines, lines);
        EXPECT_NE(outcome.problems.find("usage: VAConverter patchdiff"), std::string::npos);
        EXPECT_EQ(Tree(), before);
    }
}

TEST_F(CommandLine, NamesOfTheOutputsComeFromTheOldArchive) {
    Pack("game/my.Data.PBK", {{"a.txt", "old"}});
    Pack("new.va", {{"a.txt", "new"}});
    // A shell leaves the stray quote of a quoted folder that ends in a backslash.
    EXPECT_EQ(Convert({"PatchDiff", "game/my.Data.PBK", "new.va", "out\\\""}).exitCode, 0);
    EXPECT_THAT(Tree("out"), ElementsAre("my.data-diff.va"));
    EXPECT_EQ(Convert({"PATCHAPPLY", "game/my.Data.PBK", "out/my.data-diff.va", ""}).exitCode, 0);
    EXPECT_THAT(Tree("game"), ElementsAre("my.Data.PBK", "my.data-tmp.va"));
    ExpectSameContent("game/my.data-tmp.va", "new.va");
}

TEST_F(CommandLine, LinesThatCannotBePrintedAreAFailureThatLeavesNothing) {
    PackPair({{"a", "a"}, {"b", "old"}}, {{"a", "a"}, {"b", "new"}});
    ASSERT_EQ(Diff().exitCode, 0);
    fs::rename(folder_.Path("out/old-diff.va"), folder_.Path("patch.va"));
    fs::remove(folder_.Path("out"));
    folder_.Write("problem", "");
    const auto before = Tree();
    for (const char* words : {"patchdiff old.va new.va out", "patchapply old.va patch.va x", ""}) {
        SCOPED_TRACE(words);
        const std::string run = "cd '" + folder_.Path() + "' && " + bin_ + "/VAConverter " + words;
        EXPECT_EQ(Shell(run + " >/dev/full 2>problem"), 1);
        if (*words != '\0') {
            EXPECT_EQ(folder_.Read("problem"),
                      "VAConverter: cannot print all lines, so no archive was made\n");
        }
        EXPECT_EQ(Tree(), before);
    }
}

// From too little for the program to start to enough for the run.
TEST_F(CommandLine, WithoutMemoryALineSaysSoAndWhatToDo) {
    if (VORN_SANITIZED) GTEST_SKIP() << "the sanitizer needs more than any limit";
    Members members;
    for (int i = 0; i < 5000; ++i) members.emplace_back("folder/" + std::to_string(i), "text");
    PackPair(members, {{"folder/1", "text"}});
    int refused = 0;
    for (int limit = 8000, code = 1; limit < 60'000 && code != 0; limit += 250) {
        SCOPED_TRACE(limit);
        fs::remove_all(folder_.Path("out"));
        const Outcome outcome = Convert(
            {"patchdiff", "old.va", "new.va", "out"},
            "sh -c 'ulimit -c 0; ulimit -v " + std::to_string(limit) + "; exec \"$0\" \"$@\"'");
        code = outcome.exitCode;
        EXPECT_TRUE(code == 0 || code == 1 || code == 127) << outcome.problems;
        if (code != 1) continue;
        EXPECT_THAT(outcome.problems, Not(HasSubstr("std::")));
        if (outcome.problems.starts_with("VAConverter: out of memory; close other")) ++refused;
    }
    EXPECT_GT(refused, 0);
}

TEST_F(CommandLine, OnlyTheNamedArchiveIsTheInput) {
    Pack("old.pbk", {{"a.txt", "a"}});
    Pack("new.va", {{"a.txt", "a"}});
    Pack("old.va", {{"b.txt", "in another archive of that name"}});
    EXPECT_THAT(Convert({"patchdiff", "old.pbk", "new.va", "o1"}).lines,
                ElementsAre("Identical a.txt"));
    fs::remove(folder_.Path("old.va"));
    folder_.Write("old/b.txt", "in a folder of that name");
    EXPECT_THAT(Convert({"patchdiff", "old.pbk", "new.va", "o2"}).lines,
                ElementsAre("Identical a.txt"));
}

}  // namespace
}  // namespace Vorn::Testing
