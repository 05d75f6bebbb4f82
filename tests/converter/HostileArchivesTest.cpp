// Archives whose names were chosen to do harm.
#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

using testing::HasSubstr;

class HostileArchives : public Workbench {
protected:
    // Runs a converter whose every file must be below out/ or beside the old archive.
    void ExpectNothingElseWritten(const std::vector<std::string>& arguments,
                                  const std::string& output) {
        auto before = Tree();
        const Outcome outcome = Convert(arguments);
        EXPECT_LE(outcome.exitCode, 1) << outcome.problems;
        auto after = Tree();
        const auto working = [&](const std::string& name) {
            return name.starts_with(output) || name.starts_with(bin_ + "/");
        };
        std::erase_if(before, working);
        std::erase_if(after, working);
        EXPECT_EQ(after, before);
    }
};

TEST_F(HostileArchives, NamesLeadNowhereElse) {
    const std::string outside = folder_.Path("outside");
    const std::string names[] = {"../evil",
                                 "../../evil",
                                 "..\\evil",
                                 "a/../../../evil",
                                 "/evil",
                                 "//evil",
                                 outside,
                                 "\\evil",
                                 "a//evil",
                                 "a/",
                                 "./evil",
                                 "a/./evil",
                                 "a\\..\\evil",
                                 "C:evil",
                                 "C:/evil",
                                 "old:evil",
                                 "bad\"x\" evil",
                                 "bad\nevil",
                                 "*",
                                 "a/*/evil",
                                 "?",
                                 " ",
                                 "-evil",
                                 "$(touch evil)",
                                 "old-diff.va",
                                 "evil.diff/x",
                                 std::string(250, 'x'),
                                 std::string("old-diff.va/") + "x"};
    int count = 0;
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const std::string place = std::to_string(count++) + "/";
        Pack(place + "old.va", {{"same", "1"}, {name, "old"}});
        Pack(place + "new.va", {{name, "new"}, {"same", "1"}});
        Pack(place + "without.va", {{"same", "1"}});
        const std::string out = place + "out";
        for (const auto& [before, after] :
             {std::pair("old.va", "new.va"), {"old.va", "without.va"}, {"without.va", "new.va"}}) {
            ExpectNothingElseWritten({"patchdiff", place + before, place + after, out}, out);
        }
        Pack(place + "patch.va", {{"addedFiles.txt", name + "\nx\n"},
                                  {"patchedFiles.txt", name + "\nx\ny\n"},
                                  {"deletedFiles.txt", ""},
                                  {name, "diff"}});
        ExpectNothingElseWritten({"patchapply", place + "old.va", place + "patch.va", "x"},
                                 place + "old-tmp.va");
    }
    EXPECT_EQ(count, 28);
    EXPECT_FALSE(folder_.Has("outside"));
}

TEST_F(HostileArchives, ChangedNameThatNoListOrCommandLineCanHoldIsRefused) {
    for (const std::string name : {"line\nfeed", "quo\"te"}) {
        SCOPED_TRACE(name);
        const std::string place = name.substr(0, 3) + "/";
        Pack(place + "old.va", {{name, "old"}});
        Pack(place + "new.va", {{name, "new"}});
        const Outcome outcome =
            Convert({"patchdiff", place + "old.va", place + "new.va", place + "out"});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.problems, HasSubstr(name));
        EXPECT_FALSE(folder_.Has(place + "out/old-diff.va"));
    }
}

// The list of such a patch begins like a compressed stream.
TEST_F(HostileArchives, NameThatBeginsLikeAStreamSurvives) {
    Pack("old.va", {{"CFIL0000000000000000", "old"}, {"z", "old"}});
    Pack("new.va", {{"CFIL0000000000000000", "new"}, {"z", "new"}});
    EXPECT_EQ(Diff().exitCode, 0);
    EXPECT_EQ(Apply().exitCode, 0);
    EXPECT_EQ(Unpack("old-tmp.va"), Unpack("new.va"));
}

TEST_F(HostileArchives, EveryCutOfAPatchIsRefusedOrRight) {
    Pack("old.va", {{"a", "old"}, {"b", std::string(3000, 'b')}, {"gone", "old"}});
    Pack("new.va", {{"a", "new"}, {"b", std::string(3000, 'c')}, {"added", "new"}});
    ASSERT_EQ(Diff().exitCode, 0);
    const std::string whole = folder_.Read("out/old-diff.va");
    int refused = 0;
    for (std::size_t length = 0; length < whole.size(); length += 97) {
        SCOPED_TRACE(length);
        folder_.Write("cut.va", whole.substr(0, length));
        const Outcome outcome = Apply("cut.va");
        // Without its lists a patch changes nothing, and the run says so.
        if (outcome.exitCode == 0 && outcome.problems.empty()) {
            EXPECT_TRUE(Unpack("old-tmp.va") == Unpack("new.va"));
        } else {
            ++refused;
        }
    }
    EXPECT_GT(refused, 10);
}

}  // namespace
}  // namespace Vorn::Testing
