// Full disks, failing system calls and kills, in every command that writes files: inputs stay
// whole, and nothing has its final name unless it is whole.
#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

// A command that writes to PLACE, with OPTIONS where its options go, and what follows PLACE in the
// names of the files that it writes.
struct Work {
    const char* name;
    std::string command;
    std::vector<std::string> results;
};
void PrintTo(const Work& work, std::ostream* to) { *to << work.name; }

std::vector<Work> AllWork() {
    return {
        {"apply", "apply -j1 OPTIONS old.va p.va -o PLACE", {""}},
        {"diff", "diff -j1 OPTIONS old.va new -o PLACE", {""}},
        {"create", "create -j1 OPTIONS PLACE old", {""}},
        {"overlay", "overlay -j1 OPTIONS old.va new --write=PLACE", {""}},
        {"extract",
         "extract -j1 OPTIONS old.va -C PLACE",
         {"/gone.txt", "/scene.txt", "/wall.tga"}},
        {"tag", "tag set OPTIONS config.txt size 8 -o PLACE", {""}},
    };
}

class VaAccidents : public VaProgram, public testing::WithParamInterface<Work> {
protected:
    void SetUp() override {
        const std::string scene = Prose(60000);
        folder_.Write("old/scene.txt", scene);
        folder_.Write("old/wall.tga", Noise(600000));
        folder_.Write("old/gone.txt", Prose(3000));
        folder_.Write("new/scene.txt", scene.substr(0, 30000) + "between" + scene.substr(30000));
        folder_.Write("new/wall.tga", folder_.Read("old/wall.tga"));
        folder_.Write("new/door.tga", Noise(9000, 2));
        folder_.Write("config.txt", "size 7\n");
        ASSERT_EQ(Run("(cd old && " VARCHIVE " -r -P -k -c a ../old.va './*')"), 0);
        ASSERT_EQ(Run(VA " diff old.va new -o p.va"), 0);
        inputs_ = Inputs();
        ASSERT_EQ(Run(Command("")), 0);
        for (const std::string& result : Results()) {
            whole_.push_back(folder_.Read(result));
            ASSERT_FALSE(whole_.back().empty());
        }
        RemoveResults();
    }
    void TearDown() override {
        if (mounted_) (void)Run("umount disk");
    }

    [[nodiscard]] static std::string Command(const std::string& options,
                                             const std::string& place = "r") {
        std::string command = VA " " + GetParam().command;
        command.replace(command.find("OPTIONS"), 7, options);
        return command.replace(command.find("PLACE"), 5, place);
    }
    [[nodiscard]] static std::vector<std::string> Results(const std::string& place = "r") {
        std::vector<std::string> results;
        for (const std::string& name : GetParam().results) results.push_back(place + name);
        return results;
    }
    [[nodiscard]] static bool MakesFolders() { return Results().size() > 1; }
    [[nodiscard]] int Run(const std::string& command) const {
        return Shell("cd " + folder_.Path() + " && { " + command +
                     "; } >out.txt 2>err.txt; "
                     "code=$?; mv out.txt err.txt " +
                     streams_.Path() + "; exit $code");
    }
    [[nodiscard]] std::string Told() const { return streams_.Read("err.txt"); }

    [[nodiscard]] std::string Inputs() const {
        return folder_.Read("old.va") + folder_.Read("p.va") + folder_.Read("config.txt") +
               folder_.Read("new/scene.txt") + folder_.Read("new/door.tga");
    }
    void RemoveResults() const { fs::remove_all(folder_.Path("r")); }
    // Puts private files where the results go; with an empty text, nothing.
    void WriteBefore(const std::string& before) const {
        RemoveResults();
        if (before.empty()) return;
        for (const std::string& result : Results()) {
            folder_.Write(result, before, fs::perms{0600});
        }
    }
    // After a run: what it was given is as it was, and each result is whole or `before`.
    void ExpectWhole(int exitCode, const std::string& before = {},
                     const std::string& place = "r") const {
        EXPECT_TRUE(Inputs() == inputs_);
        for (std::size_t i = 0; i < whole_.size(); ++i) {
            const std::string found = folder_.Read(Results(place)[i]);
            EXPECT_TRUE(found == whole_[i] || found == before);
            EXPECT_TRUE(exitCode != 0 || found == whole_[i]);
        }
    }
    [[nodiscard]] bool HasStrays() const { return HasFile(IsHidden); }
    // Returns whether others may read what takes, or is to take, the place of a private file.
    [[nodiscard]] bool HasOpenResults() const {
        return HasFile([this](const fs::path& file) {
            const bool isResult = file.lexically_relative(folder_.Path()).begin()->string() == "r";
            return (IsHidden(file) || isResult) &&
                   (fs::status(file).permissions() & fs::perms(077)) != fs::perms::none;
        });
    }

    [[nodiscard]] bool CanTrace() const {
        return !VORN_SANITIZED && Shell("strace -o /dev/null true 2>/dev/null") == 0;
    }
    // Runs with the nth of these calls tampered with; returns whether there was one.
    bool Tampered(const std::string& how, int nth, const std::string& options, int& exitCode) {
        exitCode = Run("strace -f -o " + streams_.Path("trace") + " -e inject=" + how +
                       ":when=" + std::to_string(nth) + " " + Command(options));
        const std::string trace = streams_.Read("trace");
        return trace.find("(INJECTED)") != trace.npos || trace.find("--- SIGTERM") != trace.npos ||
               trace.find("+++ killed by SIGKILL") != trace.npos;
    }

    [[nodiscard]] static bool IsHidden(const fs::path& file) {
        return file.filename().string().starts_with('.');
    }
    template <typename Predicate>
    [[nodiscard]] bool HasFile(Predicate is) const {
        return std::ranges::any_of(fs::recursive_directory_iterator(folder_.Path()),
                                   [&](const fs::directory_entry& entry) {
                                       return entry.is_regular_file() && is(entry.path());
                                   });
    }

    TempFolder streams_;
    std::string inputs_;
    std::vector<std::string> whole_;
    bool mounted_ = false;
};

TEST_P(VaAccidents, FailingCallsLeaveNothing) {
    if (!CanTrace()) GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    int tampered = 0;
    for (const std::string& how :
         {"pwrite64:error=ENOSPC"s, "pwrite64:error=EIO"s, "write:error=ENOSPC"s,
          "fsync:error=EIO"s, "openat:error=EACCES"s, "linkat:error=EIO"s, "/^rename:error=EIO"s,
          "pread64:error=EIO"s}) {
        const bool isReading = how.starts_with("openat") || how.starts_with("pread64");
        for (const char* options : {"", "-f"}) {
            // Reading does not depend on what is at the result's place.
            if (isReading && *options != '\0') continue;
            const std::string before = *options == '\0' ? "" : "an earlier result";
            bool any = true;
            for (int nth = 1; any; ++nth) {
                SCOPED_TRACE(how + " " + std::to_string(nth) + options);
                WriteBefore(before);
                int code = 0;
                any = Tampered(how, nth, options, code);
                tampered += any ? 1 : 0;
                ExpectWhole(code, before);
                EXPECT_FALSE(HasStrays());
                ASSERT_LT(nth, 200);
                if (HasFailure()) return;
            }
        }
    }
    EXPECT_GT(tampered, 20);
}

TEST_P(VaAccidents, KilledRunsLeaveNothingInTheWayOfTheNext) {
    if (!CanTrace()) GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    int killed = 0;
    int left = 0;
    for (const std::string& call :
         {"pwrite64"s, "write"s, "fsync"s, "linkat"s, "/^rename"s, "/chmod"s}) {
        bool any = true;
        for (int nth = 1; any; ++nth) {
            SCOPED_TRACE(call + " " + std::to_string(nth));
            WriteBefore("an earlier result");
            int code = 0;
            any = Tampered(call + ":signal=KILL", nth, "-f", code);
            killed += any ? 1 : 0;
            ExpectWhole(code, "an earlier result");
            const bool stray = HasStrays();
            left += stray ? 1 : 0;
            EXPECT_FALSE(HasOpenResults());
            EXPECT_EQ(Run(Command("-f")), 0);
            EXPECT_EQ(Told().find("note: removed ") != std::string::npos, stray) << Told();
            ExpectWhole(0);
            EXPECT_FALSE(HasStrays());
            ASSERT_LT(nth, 200);
            if (HasFailure()) return;
        }
    }
    EXPECT_GT(killed, 3);
    EXPECT_GT(left, 0);
}

TEST_P(VaAccidents, RequestToEndLeavesNothingAndIsSeenByTheShell) {
    if (!CanTrace()) GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    for (const std::string& call : {"pwrite64"s, "write"s, "linkat"s, "mmap"s}) {
        SCOPED_TRACE(call);
        RemoveResults();
        int code = 0;
        if (!Tampered(call + ":signal=TERM", 1, "", code)) continue;
        EXPECT_EQ(code, 128 + 15);
        EXPECT_FALSE(HasStrays());
        ExpectWhole(code);
    }
}

TEST_P(VaAccidents, RunsAtOnceGiveOneWholeResult) {
    for (const char* options : {"", "-f"}) {
        RemoveResults();
        std::array<int, 4> codes{};
        InThreads(codes.size(), [&](std::size_t i) {
            codes[i] =
                Shell("cd " + folder_.Path() + " && " + Command(options) + " >/dev/null 2>&1");
        });
        ExpectWhole(0);
        // A late run finds the result there; of a patch, it is the new side already.
        for (const int code : codes) EXPECT_TRUE(code == 0 || (code == 2 && *options == '\0'));
        EXPECT_NE(std::ranges::find(codes, 0), codes.end());
        EXPECT_FALSE(HasStrays());
    }
}

TEST_P(VaAccidents, FullDiskIsFoundBeforeOrDuringTheWork) {
    int full = 0;
    int written = 0;
    fs::create_directory(folder_.Path("disk"));
    for (const int kilobytes : {4, 8, 200, 560, 600, 640, 700, 2000}) {
        SCOPED_TRACE(kilobytes);
        mounted_ = Run("mount -t tmpfs -o size=" + std::to_string(kilobytes) +
                       "k none disk && head -c 4096 /dev/zero >disk/filler") == 0;
        if (!mounted_) GTEST_SKIP() << "needs mount";
        const int code = Run(Command("", "disk/r"));
        EXPECT_TRUE(code == 0 || code == 50) << Told();
        ++(code == 0 ? written : full);
        ExpectWhole(code, "", "disk/r");
        EXPECT_FALSE(HasStrays());
        EXPECT_EQ(Run("umount disk"), 0);
        mounted_ = false;
    }
    EXPECT_GE(full, 1);
    EXPECT_GE(written, 1);
}

TEST_P(VaAccidents, DryRunsFindWhatRealRunsMeet) {
    const auto expectBoth = [&](const std::string& place, int code) {
        SCOPED_TRACE(place);
        EXPECT_EQ(Run(Command("-n", place)), code) << Told();
        const std::string told = Told();
        EXPECT_EQ(Run(Command("", place)), code) << Told();
        if (code == 2) {
            EXPECT_EQ(told, Told());
        }
        EXPECT_FALSE(HasStrays());
    };
    expectBoth(std::string(300, 'n'), 2);
    if (!MakesFolders()) expectBoth("nowhere/r", 9);
    fs::create_directory(folder_.Path("disk"));
    mounted_ = Run("mount -t tmpfs -o ro none disk") == 0;
    if (!mounted_) GTEST_SKIP() << "needs mount";
    expectBoth("disk/r", 2);
    ASSERT_EQ(Run("mount -o remount,rw,size=4k disk && head -c 4096 /dev/zero >disk/full"), 0);
    expectBoth("disk/r", 50);
    EXPECT_EQ(Run("test $(ls -A disk) = full && umount disk"), 0);
    mounted_ = false;
}

TEST_P(VaAccidents, ALinkIsReplacedOnlyWithForceAndSaidSo) {
    folder_.Write("target", "theirs");
    WriteBefore("to be removed");
    const std::string link = Results()[0];
    fs::remove(folder_.Path(link));
    fs::create_symlink(folder_.Path("target"), folder_.Path(link));
    EXPECT_EQ(Run(Command("")), 2);
    EXPECT_EQ(Run(Command("-nf")), 0);
    EXPECT_THAT(Told(), HasSubstr("note: " + link + " is a link; it would be replaced"));
    EXPECT_TRUE(fs::is_symlink(folder_.Path(link)));
    EXPECT_EQ(Run(Command("-f")), 0);
    EXPECT_THAT(Told(),
                HasSubstr("note: " + link + " was a link; it was replaced, and its target kept\n"));
    ExpectWhole(0);
    EXPECT_EQ(folder_.Read("target"), "theirs");
}

INSTANTIATE_TEST_SUITE_P(Every, VaAccidents, testing::ValuesIn(AllWork()),
                         [](const auto& work) { return std::string(work.param.name); });

}  // namespace
}  // namespace Vorn::Testing
