// Several processes at work on one archive.
#include "platform/Files.h"
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

class SharedArchives : public ArchiveProgram {
protected:
    // Writes some files, all different, to a separate folder.
    Files Fill(const std::string& name, int count) const {
        Files files;
        for (int i = 0; i < count; ++i) {
            files[name + "/" + std::to_string(i)] =
                Noise(static_cast<std::size_t>(200 + i * 37), static_cast<unsigned>(i) + name[0]);
        }
        Write(files);
        return files;
    }
    // Runs them at the same time. Returns whether all ended with 0.
    [[nodiscard]] static bool Together(const Names& commands) {
        std::string script = "ended=0;";
        for (const std::string& words : commands) script += VARCHIVE " " + words + " >>out 2>&1 &";
        script += "for job in $(jobs -p); do wait $job || ended=1; done; exit $ended";
        return Shell("bash -c '" + script + "'") == 0;
    }
};

TEST_F(SharedArchives, WritersTakeTurnsAndNothingIsLost) {
    Files all = Fill("a", 60);
    for (const char* name : {"b", "c"}) all.merge(Fill(name, 60));
    for (int round = 0; round < 8; ++round) {
        SCOPED_TRACE(round);
        fs::remove("x.va");
        // The odd rounds use an existing archive, with members to be replaced.
        if (round % 2 == 1) Do("-k a x.va a/1 b/2 c/3");
        EXPECT_TRUE(Together({"-k a x.va \"a/*\"", "-c -k a x.va \"b/*\"", "-k a x.va \"c/*\""}))
            << folder.Read("out");
        EXPECT_TRUE(Unpack("x.va") == all);
        EXPECT_EQ(CountOf(" .. ", Do("-r l x.va")), all.size());
    }
}

TEST_F(SharedArchives, ReadersMeetWholeMembersOnly) {
    const Files old = Fill("a", 40);
    Do("-k a x.va 'a/*'");
    const Files now = Fill("b", 200);
    std::atomic<bool> done = false;
    std::jthread writer([&] {
        for (int i = 0; i < 5; ++i) EXPECT_EQ(Shell(VARCHIVE " -k a x.va 'b/*' >written"), 0);
        done = true;
    });
    while (!done) {
        const Files found = Unpack("x.va");
        for (const auto& [name, content] : old) EXPECT_TRUE(found.contains(name)) << name;
        for (const auto& [name, content] : found) {
            EXPECT_TRUE(content == (old.contains(name) ? old : now).at(name)) << name;
        }
    }
}

// A writer cuts the index off before it adds the first member.
TEST_F(SharedArchives, AnArchiveIsNotCalledCutWhileItIsChanged) {
    Fill("a", 3);
    Do("-k a x.va 'a/*'");
    const std::string whole = folder.Read("x.va");
    folder.Write("x.va", whole.substr(0, whole.rfind("IDX ")));
    platform::FileHandle writer;
    ASSERT_TRUE(writer.Open("x.va", platform::Access::ReadWrite, platform::Creation::OpenExisting,
                            platform::Share::DenyNone));
    ASSERT_TRUE(writer.LockChanges(0));
    EXPECT_EQ(CountOf(" .. ", Do("-r l x.va")), 3U);
    EXPECT_EQ(Unpack("x.va").size(), 3U);
    writer.Close();
    EXPECT_THAT(Fail("-r l x.va").problems, HasSubstr("x.va was cut or damaged"));
}

TEST_F(SharedArchives, AWriterThatWaitsInVainFailsBeforeItChangesAnything) {
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "needs strace, to shorten the wait";
    }
    Fill("a", 2);
    Do("a x.va a/0");
    const std::string before = folder.Read("x.va");
    platform::FileHandle other;
    ASSERT_TRUE(other.Open("x.va", platform::Access::ReadWrite, platform::Creation::OpenExisting,
                           platform::Share::DenyNone));
    ASSERT_TRUE(other.LockChanges(0));
    const Outcome outcome =
        Run("a x.va a/1",
            "strace -o trace -e trace=clock_nanosleep -e inject=clock_nanosleep:retval=0");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.problems,
              "VArchive: cannot change x.va: another process is changing it; "
              "try again when that has ended\n");
    EXPECT_EQ(folder.Read("x.va"), before);
    EXPECT_EQ(CountOf(" .. ", Do("l x.va")), 1U) << "readers need not wait";
    other.UnlockChanges();
    Do("a x.va a/1");
}

}  // namespace
}  // namespace Vorn::Testing
