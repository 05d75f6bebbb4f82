#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

using testing::ElementsAreArray;

class CommandLine : public Workbench {};

TEST_F(CommandLine, WhatCannotBeUsedIsRefusedAndNothingIsWritten) {
    const Members some = {{"a.txt", "a"}};
    for (const char* archive : {"old.va", "new.va", "new.va.va", "OLD.PBK"}) Pack(archive, some);
    for (const char* archive : {"...va", "..va", ".va"}) Pack(archive, some);
    folder_.Write("notes.txt", "");
    const std::string usage = "// TODO.Alden: Print usage";
    const std::string more = "// TODO.Alden: Print more usage";
    std::string longName = "x.va";
    while (longName.size() < 300) longName.insert(0, "xxxxxxxx");
    const struct {
        std::vector<std::string> arguments;
        std::vector<std::string> lines;
    } rows[] = {
        {{}, {usage}},
        {{"patchdiff"}, {usage}},
        {{"patchdif", "old.va", "new.va", "out"}, {usage}},
        {{"patchdiff", "old.va"}, {more}},
        {{"patchdiff", "old.va", "new.va"}, {more}},
        {{"patchdiff", "none.va", "new.va"}, {"Failed to find input archive \"none.va\"", more}},
        {{"patchdiff", longName, "new.va", "out"},
         {"Failed to find input archive \"" + longName + "\"", more}},
        {{"PatchDiff", "notes.txt", "new.va", "out"},
         {"Invalid input archive \"notes.txt\"", more}},
        {{"patchdiff", "old.va", "OLD.PBK", "out"}, {"Invalid input archive \"OLD.PBK\"", more}},
        {{"PATCHAPPLY", "old.va", "gone.va", "x"}, {"Invalid input archive \"gone.va\"", more}},
        {{"patchdiff", "old.va", longName, "out"},
         {"Invalid input archive \"" + longName + "\"", more}},
        {{"patchdiff", "new.va.va", "./new.va", "out"}, {"Invalid input archive \"new.va\"", more}},
        // A member of the first archive is not a file.
        {{"patchdiff", "old.va", "old:a.va", "out"}, {"Invalid input archive \"old:a.va\"", more}},
        // The working folder would not be a folder of its own.
        {{"patchdiff", "...va", "new.va", "out"}, {more}},
        {{"patchdiff", "..va", "new.va", "out"}, {more}},
        {{"patchdiff", ".va", "new.va", "out"}, {more}},
        {{"patchdiff", "old.va", "new.va", "notes.txt"}, {more}},
        {{"patchdiff", "old.va", "new.va", longName}, {more}},
    };
    Pack("old.va", {{"a.va", "a"}});
    const auto before = Tree();
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        const Outcome outcome = Convert(row.arguments);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.lines, ElementsAreArray(row.lines));
        EXPECT_EQ(Tree(), before);
    }
}

TEST_F(CommandLine, NamesOfTheOutputsComeFromTheOldArchive) {
    Pack("game/my.Data.PBK", {{"a.txt", "old"}});
    Pack("new.va", {{"a.txt", "new"}});
    // A shell leaves the stray quote of a quoted folder that ends in a backslash.
    EXPECT_EQ(Convert({"PatchDiff", "game/my.Data.PBK", "new.va", "out\\\""}).exitCode, 0);
    EXPECT_THAT(Tree("out"), ElementsAreArray({"my.data-diff.va"}));
    EXPECT_EQ(Convert({"PATCHAPPLY", "game/my.Data.PBK", "out/my.data-diff.va", ""}).exitCode, 0);
    EXPECT_THAT(Tree("game"), ElementsAreArray({"my.Data.PBK", "my.data-tmp.va"}));
    EXPECT_EQ(Unpack("game/my.data-tmp.va"), Unpack("new.va"));
}

}  // namespace
}  // namespace Vorn::Testing
