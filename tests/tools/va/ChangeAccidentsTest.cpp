// Kills, failing system calls and full disks while an archive is changed: it holds all members that
// it had, or all that it was to have, and the next change goes on from there.
#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

class VaChangeAccidents : public VaProgram {
protected:
    void SetUp() override {
        folder_.Write("in/config.txt", "name Town\n");
        folder_.Write("in/data/wall.tga", Noise(300000));
        folder_.Write("in/data/road.tga", Prose(30000));
        folder_.Write("in/old.txt", "old");
        ASSERT_EQ(Va("create Start.va in").exitCode, 0);
        // A second index, so that there are dead bytes before the members that change.
        ASSERT_EQ(Va("delete Start.va old.txt").exitCode, 0);
        folder_.Write("new/config.txt", "name City\n");
        folder_.Write("new/data/door.tga", Noise(400000, 2));
        folder_.Write("new/data/road.tga", Prose(31000));
        start_ = folder_.Read("Start.va");
    }
    void TearDown() override {
        if (mounted_) (void)Shell("umount " + folder_.Path("disk"));
    }

    // Names and digests of all members; the archive tool must count as many.
    [[nodiscard]] std::string Content(const std::string& archive) const {
        const Outcome sums = Va("sums -q " + archive);
        EXPECT_EQ(sums.exitCode, 0) << sums.err;
        const std::string count = "Processed " + std::to_string(std::ranges::count(sums.out, '\n'));
        EXPECT_EQ(Shell("cd " + folder_.Path() + " && " VARCHIVE " -r -k l " + archive +
                        " '*' | grep -q '^" + count + " file'"),
                  0);
        return sums.out;
    }

    struct Counts {
        int calls = 0;
        int before = 0;
        int after = 0;
    };

    // Tampers with each of these calls of `va words` in turn, each time from the start.
    void TamperWithEach(const std::string& words, const std::string& calls, const std::string& how,
                        bool isKill, Counts& counts) {
        folder_.Write("a.va", start_);
        ASSERT_EQ(Va(words).exitCode, 0);
        const std::string before = Content("Start.va");
        const std::string after = Content("a.va");
        ASSERT_NE(before, after);
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(words + ": " + calls + " " + std::to_string(nth));
            folder_.Write("a.va", start_);
            const TempFolder traces;
            const int code =
                Shell("cd " + folder_.Path() + " && exec strace -f -o " + traces.Path("trace") +
                      " -e inject=" + calls + ":" + how + ":when=" + std::to_string(nth) +
                      " " VA " " + words + " >/dev/null 2>&1");
            const std::string trace = traces.Read("trace");
            const bool any = trace.find("(INJECTED)") != std::string::npos ||
                             trace.find("+++ killed by SIGKILL") != std::string::npos;
            if (!any) break;
            ++counts.calls;
            const std::string found = Content("a.va");
            EXPECT_TRUE(found == before || found == after) << found;
            ++(found == before ? counts.before : counts.after);
            if (!isKill && found == before) {
                EXPECT_NE(code, 0);
                EXPECT_TRUE(folder_.Read("a.va") == start_) << "what was begun is taken back";
            }
            // The fixed programs read what was left, and the next change makes it whole.
            folder_.Write("more.txt", "more");
            EXPECT_EQ(Va("add -q a.va more.txt").exitCode, 0);
            EXPECT_EQ(Va("test -q a.va").exitCode, 0);
            EXPECT_EQ(Va("delete -q a.va more.txt").exitCode, 0);
            EXPECT_EQ(Content("a.va"), found);
            ASSERT_LT(nth, 200);
            if (HasFailure()) return;
        }
    }

    static inline const std::string kChanges[] = {
        "add a.va new",     "add --sync a.va new",    "add --under=data a.va new/config.txt",
        "delete a.va data", "rename a.va data files", "rename a.va config.txt settings.txt"};

    std::string start_;
    bool mounted_ = false;
};

TEST_F(VaChangeAccidents, KilledAtAnyCallTheArchiveHoldsOldOrNewMembers) {
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    }
    Counts counts;
    for (const std::string& words : kChanges) {
        TamperWithEach(words, "pwrite64,ftruncate,fsync", "signal=SIGKILL", true, counts);
        if (HasFailure()) return;
    }
    std::cout << counts.calls << " kills: " << counts.before << " before, " << counts.after
              << " after\n";
    EXPECT_GT(counts.before, 20);
    EXPECT_GT(counts.after, 10);
}

TEST_F(VaChangeAccidents, FailingCallsTakeBackOrComplete) {
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    }
    Counts counts;
    for (const std::string& words : {kChanges[0], kChanges[3], kChanges[4]}) {
        for (const char* calls : {"pwrite64", "fsync"}) {
            TamperWithEach(words, calls, "error=EIO", false, counts);
            if (HasFailure()) return;
        }
    }
    std::cout << counts.calls << " failures: " << counts.before << " before, " << counts.after
              << " after\n";
    EXPECT_GT(counts.before, 8);
}

TEST_F(VaChangeAccidents, FullDiskIsFoundBeforeOrDuringTheWork) {
    const std::string before = Content("Start.va");
    int full = 0;
    for (const int kilobytes : {340, 500, 700, 740, 900}) {
        SCOPED_TRACE(kilobytes);
        fs::create_directory(folder_.Path("disk"));
        mounted_ = Shell("mount -t tmpfs -o size=" + std::to_string(kilobytes) + "k none " +
                         folder_.Path("disk")) == 0;
        if (!mounted_) GTEST_SKIP() << "needs mount";
        folder_.Write("disk/a.va", start_);
        for (const char* compress : {"none", "auto"}) {
            const Outcome run = Va("add disk/a.va new --compress="s + compress);
            EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 50) << run.err;
            full += run.exitCode == 50 ? 1 : 0;
            if (run.exitCode == 50) {
                EXPECT_EQ(Content("disk/a.va"), before);
                EXPECT_TRUE(folder_.Read("disk/a.va") == start_);
            }
            folder_.Write("disk/a.va", start_);
            const Outcome made = Va("create -f disk/new.va new --compress="s + compress);
            EXPECT_TRUE(made.exitCode == 0 || made.exitCode == 50) << made.err;
            EXPECT_EQ(folder_.Has("disk/new.va"), made.exitCode == 0);
            fs::remove(folder_.Path("disk/new.va"));
        }
        EXPECT_EQ(Shell("umount " + folder_.Path("disk")), 0);
        mounted_ = false;
    }
    EXPECT_GE(full, 3);
    EXPECT_LT(full, 10);
}

TEST_F(VaChangeAccidents, InterruptedCreateAndAddLeaveWhatWasThere) {
    folder_.Write("big/large", Prose(60'000'000));
    folder_.Write("a.va", start_);
    const std::string before = Names();
    int stopped = 0;
    for (const char* words : {"add a.va big --compress=all", "create b.va big --compress=all"}) {
        const int code = Shell("cd " + folder_.Path() + " && " VA " -q -j1 "s + words +
                               " & sleep 0.3; kill -TERM $!; wait $! 2>/dev/null");
        EXPECT_TRUE(code == 0 || code == 143) << code;
        if (code == 0) continue;
        ++stopped;
        EXPECT_EQ(Names(), before);
        EXPECT_TRUE(folder_.Read("a.va") == start_);
    }
    if (stopped == 0) GTEST_SKIP() << "this machine is too fast to be interrupted";
}

}  // namespace
}  // namespace Vorn::Testing
