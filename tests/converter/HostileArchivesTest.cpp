// Archives whose names were chosen to do harm.
#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

class HostileArchives : public Workbench {
protected:
    // Runs a converter whose every file must be at `output` or below it.
    void ExpectNothingElseWritten(const Arguments& arguments, const std::string& output) {
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
    const Table<const char*, std::string> rows = {
        {"parent", "../evil"},
        {"two parents", "../../evil"},
        {"parent after a backslash", "..\\evil"},
        {"more parents than folders", "a/../../../evil"},
        {"parent inside, backslashes", "a\\..\\evil"},
        {"absolute", "/evil"},
        {"absolute, in this test's folder", folder_.Path("outside")},
        {"absolute, two separators", "//evil"},
        {"absolute, backslash", "\\evil"},
        {"empty folder name", "a//evil"},
        {"empty file name", "a/"},
        {"this folder", "./evil"},
        {"this folder inside", "a/./evil"},
        {"drive", "C:evil"},
        {"root of a drive", "C:/evil"},
        {"the old archive's mount", "old:evil"},
        {"quotes for a command line", "bad\"x\" evil"},
        {"wildcard", "*"},
        {"wildcard folder", "a/*/evil"},
        {"wildcard of one character", "?"},
        {"blank", " "},
        {"an option", "-evil"},
        {"a command for a shell", "$(touch evil)"},
        {"the patch", "old-diff.va"},
        {"a file below the patch", "old-diff.va/x"},
        {"a folder named as a working file", "evil.diff/x"},
        {"line feed", "bad\nevil"},
        {"no name at all", ""},
        {"long", std::string(250, 'x')},
    };
    int count = 0;
    for (const auto& [kind, name] : rows) {
        SCOPED_TRACE(kind);
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
    EXPECT_FALSE(folder_.Has("outside"));
}

TEST_F(HostileArchives, ChangedNameThatNoListOrCommandLineCanHoldIsRefused) {
    for (const char* name : {"line\nfeed", "quo\"te"}) {
        SCOPED_TRACE(name);
        for (const char* archive : {"old.va", "new.va"}) Replace(archive, "");
        PackPair({{name, "old"}}, {{name, "new"}});
        const Outcome outcome = Diff();
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.problems, HasSubstr(name));
        EXPECT_FALSE(folder_.Has("out/old-diff.va"));
    }
}

TEST_F(HostileArchives, EveryCutOfAPatchIsRefusedOrRight) {
    // The list of changed members begins like a compressed stream.
    PackPair(
        {{"a", "old"}, {"b", std::string(3000, 'b')}, {"gone", "old"}, {"CFIL00000000", "1"}},
        {{"a", "new"}, {"b", std::string(3000, 'c')}, {"added", "new"}, {"CFIL00000000", "2"}});
    ASSERT_EQ(Diff().exitCode, 0);
    const std::string whole = folder_.Read("out/old-diff.va");
    int refused = 0;
    for (std::size_t cut = 0; cut < whole.size(); cut += 97) {
        SCOPED_TRACE(cut);
        folder_.Write("cut.va", whole.substr(0, whole.size() - cut));
        const Outcome outcome = Apply("cut.va");
        EXPECT_TRUE(cut > 0 || outcome.exitCode == 0);
        // Without its lists a patch changes nothing, and the run says so.
        if (outcome.exitCode == 0 && outcome.problems.empty()) {
            ExpectSameContent("old-tmp.va", "new.va");
        } else {
            ++refused;
        }
    }
    EXPECT_GT(refused, 10);
}

}  // namespace
}  // namespace Vorn::Testing
