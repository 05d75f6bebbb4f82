// Extracting so many small members that a second thread places their files.
#include "tests/support/RawArchive.h"
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

class ManyFiles : public ArchiveProgram {
protected:
    static constexpr std::size_t kMembers = 150;

    ManyFiles() {
        for (std::size_t i = 0; i < kMembers; ++i) {
            members_.push_back({"n" + std::to_string(i), "content of " + std::to_string(i)});
            whole_[members_[i].name] = members_[i].data;
        }
        folder.Write("x.va", RawArchive(members_));
    }
    void SetUp() override { fs::create_directory("to"); }

    // Extracts everything to the folder "to/to". `before` comes before the program.
    [[nodiscard]] Outcome Extract(const std::string& before = {}) const {
        return Run("-pto/ e x.va", before);
    }
    [[nodiscard]] static Files Extracted() {
        return fs::exists("to/to") ? FilesIn("to/to") : Files{};
    }
    // Returns the lines of the members as a successful run prints them, with `added` after some.
    [[nodiscard]] std::string Lines(const std::map<std::size_t, std::string>& added) const {
        std::string lines;
        for (std::size_t i = 0; i < kMembers; ++i) {
            lines += "    0k 100%/    0k .. to/to/" + members_[i].name;
            if (added.contains(i)) lines += added.at(i);
            lines += "\n";
        }
        return lines;
    }
    static bool MayTrace() {
        return !VORN_SANITIZED && Shell("strace -o /dev/null true 2>/dev/null") == 0;
    }

    std::vector<RawMember> members_;
    Files whole_;
};

TEST_F(ManyFiles, EachErrorFollowsTheLineOfItsFile) {
    fs::create_directories("to/to/n40/in");  // where a file should go
    members_[70].crc = 12345;
    folder.Write("x.va", RawArchive(members_));
    const Outcome outcome = Extract("sh -c 'exec \"$@\" 2>&1' sh");
    EXPECT_EQ(outcome.exitCode, 1);
    const std::map<std::size_t, std::string> added = {
        {40, "Error, Cannot open output file!"},
        {70, "VArchive: .\\n70 is damaged: its check sum does not match\n"},
    };
    EXPECT_EQ(outcome.printed, Lines(added) + "\nProcessed 150 files.\n");
    whole_.erase("n40");
    whole_["n40/in/"] = "";
    EXPECT_TRUE(Extracted() == whole_);
}

TEST_F(ManyFiles, OfMembersThatBecomeOneFileTheLastWins) {
    for (std::size_t i = 0; i < kMembers; ++i) {
        members_[i].name = "d" + std::to_string(i) + "/same";
    }
    folder.Write("x.va", RawArchive(members_));
    EXPECT_EQ(Run("-r -pto/ e x.va").exitCode, 0);
    EXPECT_TRUE(Extracted() == (Files{{"same", members_.back().data}}));
}

TEST_F(ManyFiles, AFileThatWaitsIsNotReplacedByAFolderOfItsName) {
    folder.Write("x.va", RawArchive({{"d", "file"}, {"d/x", "below"}}));
    const Outcome outcome = Run("-k e ../x.va d d/x", "cd to && exec");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(CountOf("Error, Cannot open output file!\n", outcome.printed), 1U) << outcome.printed;
    EXPECT_TRUE(FilesIn("to") == (Files{{"d", "file"}}));
}

TEST_F(ManyFiles, FewerDescriptorsThanFilesThatWaitAreEnough) {
    const Outcome outcome = Extract("sh -c 'ulimit -n 25; exec \"$@\"' sh");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.printed;
    EXPECT_TRUE(Extracted() == whole_);
}

// The n-th call of either thread fails, or is the process's last.
TEST_F(ManyFiles, NoFileIsHalfWrittenWhicheverCallFails) {
    if (!MayTrace()) GTEST_SKIP() << "tracing is not permitted";
    const Table<std::string, std::string> rows = {
        {"linkat:error=EACCES:when=5..6", "Cannot open output file"},
        {"write:error=ENOSPC:when=5", "Cannot write output file"},
        {"openat:error=EMFILE:when=99", ""},
        {"close:error=EIO:when=20", ""},
        {"linkat:signal=KILL:when=9", ""},
        {"write:signal=KILL:when=30", ""},
    };
    for (const auto& [fault, problem] : rows) {
        SCOPED_TRACE(fault);
        fs::remove_all("to/to");
        const Outcome outcome = Extract("strace -f -o trace -e inject=" + fault);
        const std::string trace = folder.Read("trace");
        EXPECT_GT(CountOf("(INJECTED)", trace) + CountOf("SIGKILL", trace), 0U);
        const Files files = Extracted();
        for (const auto& [name, content] : files) EXPECT_EQ(content, whole_[name]) << name;
        EXPECT_EQ(outcome.exitCode == 0, files.size() == kMembers);
        if (!problem.empty()) {
            EXPECT_EQ(CountOf("Error, " + problem + "!\n", outcome.printed),
                      kMembers - files.size());
        }
    }
}

}  // namespace
}  // namespace Vorn::Testing
