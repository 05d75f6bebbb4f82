// Full disks, failing system calls and kills: inputs stay whole, and no result has its final name
// unless it is whole.
#include <future>
#include <thread>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

class VaApplyAccidents : public VaProgram {
protected:
    void SetUp() override {
        const std::string scene = Prose(60000);
        folder_.Write("old/scene.txt", scene);
        folder_.Write("old/wall.tga", Noise(600000));
        folder_.Write("old/gone.txt", Prose(3000));
        folder_.Write("new/scene.txt", scene.substr(0, 30000) + "between" + scene.substr(30000));
        folder_.Write("new/wall.tga", folder_.Read("old/wall.tga"));
        folder_.Write("new/door.tga", Noise(9000, 2));
        ASSERT_EQ(Run("(cd old && " VARCHIVE " -r -P -k -c a ../old.va './*')"), 0);
        ASSERT_EQ(Run(VA " diff old.va new -o p.va && " VA " apply old.va p.va -o new.va"), 0);
        inputs_ = folder_.Read("old.va") + folder_.Read("p.va");
        result_ = folder_.Read("new.va");
        names_ = Names();
    }
    void TearDown() override {
        if (mounted_) (void)Run("umount disk");
    }

    [[nodiscard]] int Run(const std::string& command) const {
        return Shell("cd " + folder_.Path() + " && { " + command +
                     "; } >out.txt 2>err.txt; "
                     "code=$?; mv out.txt err.txt " +
                     streams_.Path() + "; exit $code");
    }
    [[nodiscard]] std::string Told() const { return streams_.Read("err.txt"); }

    // After a run: what it was given is as it was, and its result is whole or `before`.
    void ExpectWhole(int exitCode, const std::string& before = {}) const {
        EXPECT_TRUE(folder_.Read("old.va") + folder_.Read("p.va") == inputs_);
        const std::string found = folder_.Read("r.va");
        EXPECT_TRUE(found == result_ || found == before);
        EXPECT_TRUE(exitCode != 0 || found == result_);
    }

    [[nodiscard]] bool CanTrace() const {
        return !VORN_SANITIZED && Shell("strace -o /dev/null true 2>/dev/null") == 0;
    }
    // Runs with the nth of these calls tampered with; returns whether there was one.
    bool Tampered(const std::string& how, int nth, const std::string& options, int& exitCode) {
        exitCode = Run("strace -f -o " + streams_.Path("trace") + " -e inject=" + how +
                       ":when=" + std::to_string(nth) + " " VA " apply -j1 " + options +
                       " old.va p.va -o r.va");
        return streams_.Read("trace").find("(INJECTED)") != std::string::npos ||
               streams_.Read("trace").find("+++ killed by SIGKILL") != std::string::npos;
    }

    TempFolder streams_;
    std::string inputs_;
    std::string result_;
    std::string names_;
    bool mounted_ = false;
};

TEST_F(VaApplyAccidents, FullDiskIsFoundBeforeOrDuringTheWork) {
    int full = 0;
    for (const int kilobytes : {4, 200, 560, 600, 640, 700, 2000}) {
        SCOPED_TRACE(kilobytes);
        fs::create_directory(folder_.Path("disk"));
        mounted_ = Run("mount -t tmpfs -o size=" + std::to_string(kilobytes) + "k none disk") == 0;
        if (!mounted_) GTEST_SKIP() << "needs mount";
        const int code = Run(VA " apply old.va p.va -o disk/r.va");
        EXPECT_TRUE(code == 0 || code == 50) << Told();
        full += code == 50 ? 1 : 0;
        EXPECT_EQ(folder_.Has("disk/r.va"), code == 0);
        EXPECT_TRUE(code != 0 || folder_.Read("disk/r.va") == result_);
        EXPECT_EQ(Run("test $(ls -A disk | wc -l) -le 1 && umount disk"), 0);
        mounted_ = false;
        ExpectWhole(1);
    }
    EXPECT_GE(full, 3);
    EXPECT_LT(full, 7);
}

TEST_F(VaApplyAccidents, FolderThatCannotBeWritten) {
    fs::create_directory(folder_.Path("disk"));
    mounted_ = Run("mount -t tmpfs -o ro none disk") == 0;
    if (!mounted_) GTEST_SKIP() << "needs mount";
    EXPECT_EQ(Run(VA " apply old.va p.va -o disk/r.va"), 2);
    EXPECT_THAT(Told(), HasSubstr("disk/r.va: cannot create a file in its folder: "));
}

TEST_F(VaApplyAccidents, TwoRunsAtOnceGiveOneWholeResult) {
    for (const char* options : {"", "-f"}) {
        std::array<int, 4> codes{};
        InThreads(codes.size(), [&](std::size_t i) {
            codes[i] = Shell("cd " + folder_.Path() + " && " VA " apply -q "s + options +
                             " old.va p.va -o r.va 2>/dev/null");
        });
        ExpectWhole(0);
        // A late run finds the result there, and that it is the new side.
        for (const int code : codes) EXPECT_TRUE(code == 0 || (code == 2 && *options == '\0'));
        EXPECT_EQ(Names(), names_ + "r.va ");
    }
}

TEST_F(VaApplyAccidents, FailingCallsLeaveNothing) {
    if (!CanTrace()) GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    int tampered = 0;
    for (const char* how :
         {"pwrite64:error=ENOSPC", "pwrite64:error=EIO", "fsync:error=EIO", "openat:error=EACCES",
          "linkat:error=EIO", "/^rename:error=EIO", "pread64:error=EIO"}) {
        for (const char* options : {"", "-f"}) {
            const std::string before = *options == '\0' ? "" : "an earlier result";
            bool any = true;
            for (int nth = 1; any; ++nth) {
                SCOPED_TRACE(how + " "s + std::to_string(nth) + options);
                fs::remove(folder_.Path("r.va"));
                if (!before.empty()) folder_.Write("r.va", before);
                int code = 0;
                any = Tampered(how, nth, options, code);
                tampered += any ? 1 : 0;
                ExpectWhole(code, before);
                if (!folder_.Has("r.va")) {
                    EXPECT_EQ(Names(), names_);
                } else {
                    EXPECT_EQ(Names(), names_ + "r.va ");
                }
                ASSERT_LT(nth, 200);
                if (HasFailure()) return;
            }
        }
    }
    EXPECT_GT(tampered, 30);
}

TEST_F(VaApplyAccidents, KilledRunsLeaveNothingInTheWayOfTheNext) {
    if (!CanTrace()) GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    int killed = 0;
    int left = 0;
    for (const char* call : {"pwrite64", "fsync", "linkat", "/^rename", "/chmod"}) {
        bool any = true;
        for (int nth = 1; any; ++nth) {
            SCOPED_TRACE(call + " "s + std::to_string(nth));
            folder_.Write("r.va", "an earlier result");
            int code = 0;
            any = Tampered(call + ":signal=KILL"s, nth, "-f", code);
            killed += any ? 1 : 0;
            ExpectWhole(code, "an earlier result");
            const bool stray = Run("ls .r.va.va-??????") == 0;
            left += stray ? 1 : 0;
            EXPECT_EQ(Run(VA " apply -f old.va p.va -o r.va"), 0);
            EXPECT_EQ(Told().find("note: removed .r.va.va-") != std::string::npos, stray);
            ExpectWhole(0);
            EXPECT_NE(Run("ls .r.va.va-??????"), 0);
            ASSERT_LT(nth, 200);
            if (HasFailure()) return;
        }
    }
    EXPECT_GT(killed, 10);
    EXPECT_GT(left, 0);
}

TEST_F(VaApplyAccidents, RequestToEndLeavesNothingAndIsSeenByTheShell) {
    if (!CanTrace()) GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    int code = 0;
    ASSERT_TRUE(Tampered("pwrite64:signal=TERM", 1, "", code) || code == 128 + 15);
    EXPECT_EQ(code, 128 + 15);
    EXPECT_EQ(Names(), names_);
}

}  // namespace
}  // namespace Vorn::Testing
