// Runs that share folders with each other, with killed runs and with people's files.
#include <fcntl.h>
#include <sys/file.h>

#include <csignal>
#include <future>
#include <thread>

#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

constexpr const char* kSlowly = "sleep 0.5; ";

class SharedFolders : public Workbench {
protected:
    void SetUp() override {
        PackPair({{"a.txt", "old"}, {"dir/b", "old"}, {"gone", "old"}},
                 {{"a.txt", "new"}, {"dir/b", "new"}, {"added", "new"}});
        ASSERT_EQ(Diff().exitCode, 0);
        fs::rename(folder_.Path("out/old-diff.va"), folder_.Path("good.va"));
        fs::remove(folder_.Path("out"));
    }

    [[nodiscard]] Outcome ApplyGood() const { return Apply("good.va"); }

    // A second installation of the programs.
    [[nodiscard]] std::string InstallAgain() const {
        fs::copy(folder_.Path("app"), folder_.Path("app2"), fs::copy_options::recursive);
        return folder_.Path("app2/VAConverter/bin/VAConverter");
    }

    // Puts `script` before the real program.
    void Delay(const std::string& program, const std::string& script) const {
        fs::rename(folder_.Path(program), folder_.Path(program + ".real"));
        Replace(program, script + "exec \"$0.real\" \"$@\"");
    }

    // Makes a program wait until LetGoOn, so that what another run does meanwhile is no race.
    void HoldBack(const std::string& program) const {
        Delay(program, "until [ -e '" + folder_.Path("go") + "' ]; do sleep 0.02; done; ");
    }

    // Lets the program go on once the second run has said `line` on its standard error.
    void LetGoOnceSaid(const std::string& line) const {
        const auto said = [&] {
            return folder_.Has("second.problems") &&
                   folder_.Read("second.problems").find(line) != std::string::npos;
        };
        for (int i = 0; i < 3000 && !said(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        folder_.Write("go", "");
        EXPECT_TRUE(said()) << line;
    }

    void WaitFor(const std::string& name) const {
        for (int i = 0; i < 1000 && !folder_.Has(name); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ASSERT_TRUE(folder_.Has(name)) << name;
    }
};

TEST_F(SharedFolders, RunsOfTwoInstallationsWriteOneResultAfterTheOther) {
    const std::string again = InstallAgain();
    HoldBack(bin_ + "/vpatchl-w32.exe");
    auto first = std::async(std::launch::async, [this] { return ApplyGood(); });
    WaitFor("old-tmp.va.part");
    const std::string command = "cd '" + folder_.Path() + "' && exec '" + again + "' ";
    auto second = std::async(std::launch::async, [&] {
        return Shell(command + "patchapply old.va good.va x >second 2>second.problems");
    });
    LetGoOnceSaid("another run is writing \"old-tmp.va\"");
    EXPECT_EQ(first.get().exitCode, 0);
    EXPECT_EQ(second.get(), 0);
    ExpectSameContent("old-tmp.va", "new.va");
    // What a failing run deletes is not the result of another.
    Pack("bad.va", {{"patchedFiles.txt", "a.txt\nx\ny\n"}, {"a.txt", "diff"}});
    EXPECT_EQ(Apply("bad.va").exitCode, 1);
    ExpectSameContent("old-tmp.va", "new.va");

    Delay(diff_, kSlowly);
    auto making = std::async(std::launch::async, [this] { return Diff(); });
    WaitFor("out/old-diff.va.lock");
    EXPECT_EQ(Shell(command + "patchdiff old.va new.va out >second 2>second.problems"), 1);
    EXPECT_THAT(folder_.Read("second.problems"), HasSubstr("\"out/old-diff.va\" exists"));
    EXPECT_EQ(making.get().exitCode, 0);
    ExpectSameContent("out/old-diff.va", "good.va");
    EXPECT_THAT(Tree("out"), ElementsAre("old-diff.va"));
    EXPECT_FALSE(folder_.Has("old-tmp.va.part") || folder_.Has("old-tmp.va.lock"));
}

TEST_F(SharedFolders, ReplacedProgramOpensNoSecondDoor) {
    HoldBack(diff_);
    auto first = std::async(std::launch::async, [this] { return Diff(); });
    WaitFor("out/old-diff.va.lock");
    folder_.Write("new-program", folder_.Read(bin_ + "/VAConverter"), fs::perms::owner_all);
    fs::rename(folder_.Path("new-program"), folder_.Path(bin_ + "/VAConverter"));
    auto second = std::async(std::launch::async, [this] {
        return Shell("cd '" + folder_.Path() + "' && exec '" + folder_.Path(bin_) +
                     "/VAConverter' patchdiff old.va new.va out2 >second 2>second.problems");
    });
    LetGoOnceSaid("another run is using the program folder");
    EXPECT_EQ(second.get(), 0);
    EXPECT_EQ(first.get().exitCode, 0);
    for (const char* patch : {"out/old-diff.va", "out2/old-diff.va"}) {
        ExpectSameContent(patch, "good.va");
    }
}

TEST_F(SharedFolders, KilledRunLeavesNoResultAndNothingInTheWayOfTheNext) {
    const Outcome traced = Convert({}, "strace -o /dev/null");
    if (traced.exitCode != 1) GTEST_SKIP() << "tracing is not permitted: " << traced.problems;
    for (const bool diff : {true, false}) {
        const char* result = diff ? "out/old-diff.va" : "old-tmp.va";
        for (int nth = 1; nth < 40; ++nth) {
            SCOPED_TRACE(result + std::to_string(nth));
            const std::string tracer =
                "strace -o /dev/null -e inject=pwrite64,write,unlink,renameat2:signal=KILL:when=" +
                std::to_string(nth);
            const Outcome killed = diff ? Convert({"patchdiff", "old.va", "new.va", "out"}, tracer)
                                        : Convert({"patchapply", "old.va", "good.va", "x"}, tracer);
            if (folder_.Has(result)) ExpectSameContent(result, diff ? "good.va" : "new.va");
            if (diff) Replace(result, "");
            const Outcome next = diff ? Diff() : ApplyGood();
            EXPECT_EQ(next.exitCode, 0) << next.problems;
            ExpectSameContent(result, diff ? "good.va" : "new.va");
            Replace(result, "");
            if (killed.exitCode == 0) break;
        }
        EXPECT_THAT(Tree("out"), IsEmpty());
    }
}

TEST_F(SharedFolders, WorkingFilesFollowNoLinks) {
    folder_.Write("victim", "precious");
    for (const char* name : {"srcFile", "dstFile", "difFile", "outFile"}) {
        fs::create_symlink(folder_.Path("victim"), folder_.Path(bin_ + "/" + name));
    }
    EXPECT_EQ(ApplyGood().exitCode, 0);
    EXPECT_EQ(Diff().exitCode, 0);
    EXPECT_EQ(folder_.Read("victim"), "precious");
    ExpectSameContent("old-tmp.va", "new.va");
    ExpectSameContent("out/old-diff.va", "good.va");
}

TEST_F(SharedFolders, OnlyLeftoversOfARunAreDeleted) {
    const auto before = Tree();
    // What killed runs leave.
    for (const char* left : {"old-diff.va.part", "a.txt.diff", "dir/b.diff", "gone.diff",
                             "added.diff", "dir/.vpatch-123.tmp"}) {
        folder_.Write("out/old/"s + left, "left over");
    }
    fs::create_directories(folder_.Path("out/old/empty/folder"));
    EXPECT_EQ(Diff().exitCode, 0);
    EXPECT_THAT(Tree("out"), ElementsAre("old-diff.va"));
    Replace("out/old-diff.va", "");

    folder_.Write("victim.diff", "precious");
    folder_.Write("out/victim.diff", "precious");
    fs::create_directories(folder_.Path("elsewhere"));
    folder_.Write("elsewhere/a.txt.diff", "precious");
    for (const char* kept :
         {"mine.diff", "dir/a.txt.diff", "dir/mine/b.diff", "old-diff.va", ".vpatch-mine.tmp",
          ".vpatch-12.tmp.old", "dir/old-diff.va.part", "..\\victim.diff", "..\\..\\victim.diff"}) {
        SCOPED_TRACE(kept);
        const std::string path = "out/old/"s + kept;
        folder_.Write(path, "precious");
        const auto tree = Tree("out");
        const Outcome outcome = Diff();
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.problems, HasSubstr("\"out/old/"s + kept + "\""));
        EXPECT_EQ(Tree("out"), tree);
        EXPECT_EQ(folder_.Read("victim.diff") + folder_.Read("out/victim.diff"),
                  "preciousprecious");
        fs::remove_all(folder_.Path("out/old"));
    }
    fs::create_directories(folder_.Path("out/old"));
    fs::create_directory_symlink(folder_.Path("elsewhere"), folder_.Path("out/old/dir"));
    EXPECT_EQ(Diff().exitCode, 1);
    fs::remove_all(folder_.Path("out/old"));
    fs::create_directory_symlink(folder_.Path("elsewhere"), folder_.Path("out/old"));
    EXPECT_EQ(Diff().exitCode, 1);
    EXPECT_EQ(folder_.Read("elsewhere/a.txt.diff"), "precious");
}

TEST_F(SharedFolders, FailureLeavesNoFoldersAndRefusalComesBeforeTheWork) {
    const std::string inFolder = "deep/out";
    Replace(diff_, "echo x > \"${3%/*}/.vpatch-$$.tmp\"; echo ran >> ran; kill -9 $$");
    EXPECT_EQ(Convert({"patchdiff", "old.va", "new.va", inFolder}).exitCode, 1);
    EXPECT_TRUE(folder_.Has("ran"));
    EXPECT_FALSE(folder_.Has("deep"));

    Replace("ran", "");
    for (const std::string& taken : {"deep/out/old-diff.va"s, "deep/out/old"s}) {
        folder_.Write(taken, "precious");
        const Outcome outcome = Convert({"patchdiff", "old.va", "new.va", inFolder});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.lines, ElementsAre("// TODO.Alden: Print more usage"));
        EXPECT_THAT(outcome.problems, HasSubstr("\"" + taken + "\""));
        EXPECT_EQ(Tree("deep"), Lines({taken.substr(5)}));
        EXPECT_FALSE(folder_.Has("ran"));
        fs::remove(folder_.Path(taken));
    }
}

TEST_F(SharedFolders, PatchWhoseNameIsTakenDuringTheRunIsKept) {
    Delay(diff_, "echo precious > out/old-diff.va; ");
    const Outcome outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.problems, HasSubstr("kept as \"out/old/old-diff.va\""));
    EXPECT_EQ(folder_.Read("out/old-diff.va"), "precious\n");
    EXPECT_EQ(Apply("out/old/old-diff.va").exitCode, 0);
    ExpectSameContent("old-tmp.va", "new.va");
    EXPECT_THAT(Tree("out"), ElementsAre("old-diff.va", "old/old-diff.va"));
}

TEST_F(SharedFolders, ResultIsOnTheStorageDeviceBeforeItHasItsName) {
    const std::string tracer = "strace -y -o trace -e trace=fsync,rename,renameat2 ";
    // The leak sanitizer fails a program that is traced.
    if (VORN_SANITIZED) GTEST_SKIP() << "for builds without a sanitizer";
    if (Convert({}, tracer).exitCode != 1) GTEST_SKIP() << "tracing is not permitted";
    for (const auto& [arguments, part, folder] : Table<Arguments, std::string, std::string>{
             {{"patchdiff", "old.va", "new.va", "out"}, "out/old/old-diff.va.part", "out"},
             {{"patchapply", "old.va", "good.va", "x"}, "old-tmp.va.part", ""}}) {
        EXPECT_EQ(Convert(arguments, tracer).exitCode, 0);
        const std::string trace = folder_.Read("trace");
        const std::string place = folder.empty() ? folder_.Path() : folder_.Path(folder);
        const std::size_t file = trace.find("/" + part + ">)");
        const std::size_t name = trace.find("\nrename", file);
        EXPECT_NE(trace.find("fsync", name), std::string::npos) << trace;
        EXPECT_NE(trace.find(place + ">)", trace.find("fsync", name)), std::string::npos) << trace;
        EXPECT_LT(file, name) << trace;

        Replace("out/old-diff.va", "");
        Replace("old-tmp.va", "");
        const Outcome failed =
            Convert(arguments, "strace -o /dev/null -e inject=fsync:error=EIO:when=1 ");
        EXPECT_EQ(failed.exitCode, 1);
        EXPECT_FALSE(folder_.Has("out/old-diff.va") || folder_.Has("old-tmp.va"));
    }
}

TEST_F(SharedFolders, ProgramFolderThatCannotBeWrittenIsNoObstacle) {
    Delay(diff_, "stat -c %a \"${1%/*}\" > mode; ");
    if (!MakeSmallDisk("app", 1 << 20) ||
        Shell("mount -o remount,ro '" + folder_.Path("app") + "'") != 0) {
        GTEST_SKIP() << "mounting is not permitted";
    }
    fs::create_directory(folder_.Path("temporary"));
    const std::string here = "env TMPDIR='" + folder_.Path("temporary") + "'";
    EXPECT_EQ(Convert({"patchdiff", "old.va", "new.va", "out"}, here).exitCode, 0);
    EXPECT_EQ(folder_.Read("mode"), "700\n");
    ExpectSameContent("out/old-diff.va", "good.va");
    EXPECT_EQ(Convert({"patchapply", "old.va", "good.va", "x"}, here).exitCode, 0);
    ExpectSameContent("old-tmp.va", "new.va");
    EXPECT_THAT(Tree("temporary"), IsEmpty());

    const auto before = Tree();
    const Outcome nowhere =
        Convert({"patchdiff", "old.va", "new.va", "out2"}, "env TMPDIR=/dev/null");
    EXPECT_EQ(nowhere.exitCode, 1);
    EXPECT_THAT(nowhere.problems, HasSubstr("let TMPDIR name a folder"));
    EXPECT_EQ(Tree(), before);
}

// Each run is stopped while the diff or patch program works, which would not end by itself.
TEST_F(SharedFolders, StoppedRunEndsItsProgramAndLeavesNothing) {
    const std::string stop =
        "kill -$(cat signal) $PPID; echo x > \"${3%/*}/.vpatch-$$.tmp\"; "
        "echo $$ > worker; exec sleep 1000";
    Replace(diff_, stop);
    Replace(bin_ + "/vpatchl-w32.exe", stop);
    fs::create_directory(folder_.Path("temporary"));
    const std::string here = "env TMPDIR='" + folder_.Path("temporary") + "'";
    for (const bool writable : {true, false}) {
        if (!writable && (!MakeSmallDisk("app", 1 << 20) ||
                          Shell("mount -o remount,ro '" + folder_.Path("app") + "'") != 0)) {
            GTEST_SKIP() << "mounting is not permitted";
        }
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
            folder_.Write("signal", std::to_string(signal));
            for (const Arguments& arguments : {Arguments{"patchdiff", "old.va", "new.va", "out"},
                                               Arguments{"patchapply", "old.va", "good.va", "x"}}) {
                SCOPED_TRACE(arguments[0] + std::to_string(signal) + std::to_string(writable));
                Replace("worker", "");
                const auto before = Tree();
                const Outcome outcome = Convert(arguments, here);
                EXPECT_EQ(outcome.exitCode, 128 + signal);
                EXPECT_EQ(outcome.problems, "");
                EXPECT_NE(Shell("kill -0 $(cat '" + folder_.Path("worker") + "') 2>/dev/null"), 0);
                Replace("worker", "");
                EXPECT_EQ(Tree(), before);
            }
        }
    }
}

TEST_F(SharedFolders, RunThatWaitsForAnotherCanBeStopped) {
    const int lock = open(folder_.Path(bin_ + "/VAConverter.lock").c_str(), O_CREAT | O_RDWR, 0600);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    const Outcome outcome =
        Convert({"patchdiff", "old.va", "new.va", "out"},
                "sh -c '\"$0\" \"$@\" 2>waits & until grep -q waiting waits; do sleep 0.02; done; "
                "kill $!; wait $!'");
    EXPECT_EQ(outcome.exitCode, 128 + SIGTERM);
    EXPECT_THAT(outcome.lines, IsEmpty());
    EXPECT_EQ(std::ranges::count(folder_.Read("waits"), '\n'), 1);
    close(lock);
}

}  // namespace
}  // namespace Vorn::Testing
