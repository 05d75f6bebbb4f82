#include "tests/delta/Samples.h"
#include "tests/support/Tests.h"

namespace delta::test {
namespace {

using namespace Vorn::Testing;
using testing::EndsWith;
using testing::StartsWith;

// Runs both programs through the shell in a temporary folder.
class PatchPrograms : public InFolder {
protected:
    PatchPrograms() {
        Write("old", Config(3000, 1));
        Write("new", Config(3500, 1));
    }
    void Write(const char* name, const ByteBuffer& bytes) const {
        folder.Write(name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }

    // Returns the exit code; the output is in "stdout" and "stderr".
    static int Run(const std::string& command) {
        return Shell("{ " + command + "; } >stdout 2>stderr");
    }
    static int Diff(const std::string& operands) { return Run("'" DIFF_PROGRAM "' " + operands); }
    static int Patch(const std::string& operands) { return Run("'" PATCH_PROGRAM "' " + operands); }

    // Expects a failure with one line that has the reason.
    void ExpectOneLine(const std::string& program) const {
        const std::string line = folder.Read("stderr");
        EXPECT_THAT(line, StartsWith(program + ": "));
        EXPECT_EQ(line.find('\n'), line.size() - 1);
    }
    static bool LeftUnfinished() {
        return std::ranges::any_of(fs::recursive_directory_iterator("."), [](const auto& entry) {
            return entry.path().extension() == ".tmp";
        });
    }
};

TEST_F(PatchPrograms, MakeAndApplyADiffInSilence) {
    Write("out", FromText("an earlier file"));
    for (const int code : {Diff("old new diff"), Patch("old diff out")}) {
        EXPECT_EQ(code, 0);
        EXPECT_EQ(folder.Read("stdout") + folder.Read("stderr"), "");
    }
    EXPECT_EQ(folder.Read("out"), folder.Read("new"));
    EXPECT_LT(fs::file_size("diff"), 400U);
    EXPECT_FALSE(LeftUnfinished());
}

TEST_F(PatchPrograms, ReplaceAFileWholeAndKeepItsMode) {
    ASSERT_EQ(Run("umask 022; echo x >out; chmod 640 out; ln out other; ln -s other link"), 0);
    EXPECT_EQ(Diff("old new out"), 0);
    EXPECT_EQ(Run("stat -c %a out other && cat other"), 0);
    EXPECT_EQ(folder.Read("stdout"), "640\n640\nx\n");

    // A link is replaced itself, and another name of a replaced file keeps the old content.
    EXPECT_EQ(Diff("old new link"), 0);
    EXPECT_EQ(Run("cmp out link && cat other"), 0);
    EXPECT_EQ(folder.Read("stdout"), "x\n");

    EXPECT_EQ(Run("umask 027; '" DIFF_PROGRAM "' old new fresh; stat -c %a fresh"), 0);
    EXPECT_EQ(folder.Read("stdout"), "640\n");
}

TEST_F(PatchPrograms, SyncTheFileBeforeItTakesTheNameAndTheFolderAfterwards) {
    if (VORN_SANITIZED) GTEST_SKIP() << "leak checks do not run under strace";
    if (Run("strace -o trace -e trace=fsync,rename,close '" DIFF_PROGRAM "' old new out") != 0) {
        GTEST_SKIP() << "strace is not permitted";
    }
    const std::string trace = folder.Read("trace");
    const std::size_t rename = trace.find("rename(");
    EXPECT_LT(trace.find("fsync("), rename);
    EXPECT_NE(trace.find("fsync(", rename), std::string::npos) << trace;

    EXPECT_EQ(Run("strace -e trace=fsync --inject=fsync:error=EIO:when=1 '" DIFF_PROGRAM
                  "' old new other"),
              3);
    EXPECT_THAT(folder.Read("stderr"), HasSubstr("cannot write other: Input/output error\n"));
    EXPECT_FALSE(folder.Has("other") || LeftUnfinished());
}

TEST_F(PatchPrograms, MappedFilesMakeTheRoundTrip) {
    ByteBuffer large = Noise(65U << 20, 1);
    Write("old", large);
    for (std::size_t i = 1000; i < large.size(); i += 3'000'000) ++large[i];
    large.erase(large.begin() + 5'000'000, large.begin() + 5'000'100);
    Write("new", large);
    EXPECT_EQ(Diff("old new diff"), 0);
    EXPECT_EQ(Patch("old diff out"), 0);
    EXPECT_LT(fs::file_size("diff"), 400U);
    EXPECT_EQ(Run("cmp new out"), 0);
}

TEST_F(PatchPrograms, ExplainThemselves) {
    EXPECT_EQ(Diff("--help"), 0);
    EXPECT_THAT(folder.Read("stdout"), StartsWith("usage: vdiffl-w32.exe OLD NEW OUT\n"));
    EXPECT_EQ(Patch("--help"), 0);
    EXPECT_THAT(folder.Read("stdout"), StartsWith("usage: vpatchl-w32.exe OLD DIFF OUT\n"));
    EXPECT_EQ(Patch("--version"), 0);
    EXPECT_THAT(folder.Read("stdout"), StartsWith("vpatchl-w32.exe "));
}

TEST_F(PatchPrograms, FailWithACodeALineAndNoOutput) {
    ASSERT_EQ(Diff("old new diff"), 0);
    ASSERT_EQ(Run("head -c 40 diff >cut; : >empty; mkdir dir; mkfifo fifo"), 0);
    enum Program : std::uint8_t { kDiff, kPatch };
    const Table<Program, const char*, int> rows = {
        {kDiff, "", 1},
        {kDiff, "old new", 1},
        {kPatch, "old diff out more", 1},
        {kDiff, "missing new out", 2},
        {kDiff, "old dir out", 2},
        {kDiff, "old \"$(printf 'two\\nlines')\" out", 2},
        {kPatch, "old missing out", 2},
        {kDiff, "old new missing/out", 3},
        {kDiff, "old new dir", 3},
        {kDiff, "old new fifo", 3},
        {kPatch, "old diff /dev/null", 3},
        {kPatch, "old cut out", 4},
        {kPatch, "old empty out", 4},
        {kPatch, "old new out", 4},
        {kPatch, "new diff out", 5},
    };
    for (const auto& [program, words, exitCode] : rows) {
        SCOPED_TRACE(words);
        EXPECT_EQ(program == kPatch ? Patch(words) : Diff(words), exitCode);
        ExpectOneLine(program == kPatch ? "vpatchl-w32.exe" : "vdiffl-w32.exe");
        EXPECT_FALSE(folder.Has("out") || LeftUnfinished());
    }
    Write("kept", FromText("as it was"));
    EXPECT_EQ(Patch("old cut kept"), 4);
    EXPECT_EQ(folder.Read("kept"), "as it was");
}

TEST_F(PatchPrograms, AFullDiskLeavesNothing) {
    Write("new", Noise(300'000, 1));
    EXPECT_EQ(Run("ulimit -f 8; '" DIFF_PROGRAM "' old new out"), 3);
    EXPECT_THAT(folder.Read("stderr"), EndsWith("cannot write out: File too large\n"));
    EXPECT_FALSE(folder.Has("out") || LeftUnfinished());

    if (Run("mkdir tiny && mount -t tmpfs -o size=64k none tiny") != 0) {
        GTEST_SKIP() << "mounting is not permitted";
    }
    EXPECT_EQ(Diff("old new tiny/out"), 3);
    EXPECT_THAT(folder.Read("stderr"), HasSubstr("No space left"));
    const bool left = folder.Has("tiny/out") || LeftUnfinished();
    EXPECT_EQ(Run("umount tiny"), 0);
    EXPECT_FALSE(left);
}

TEST_F(PatchPrograms, HostileSizesTakeNoMemory) {
    if (VORN_SANITIZED) GTEST_SKIP() << "sanitizers need the address space";
    // A packed stream of 2^40 bytes with a dictionary as large as it may be.
    Write("old", FromText("abcdefgh"));
    const ByteBuffer stream{0x81, 0x80, 0x80, 0x80, 0x80, 0x40, 93, 4, 1, 2, 3, 4};
    ByteBuffer streams;
    for (int i = 0; i < 4; ++i) streams.insert(streams.end(), stream.begin(), stream.end());
    Write("diff", WithPayload(FromText("abcdefgh"), 8, Method::Streams, streams));
    const char* limited = "ulimit -v 72000; '" PATCH_PROGRAM "' old diff out";
    EXPECT_EQ(Run(limited), 4) << folder.Read("stderr");

    Write("diff", Declaring4GiB(FromText("abcdefgh"), Method::Modelled, Noise(20, 1)));
    EXPECT_EQ(Run(limited), 6);
    ExpectOneLine("vpatchl-w32.exe");
}

TEST_F(PatchPrograms, AnInputThatShrinksWhileMappedIsAnError) {
    Write("new", Noise(70U << 20, 1));
    const int code = Run("'" DIFF_PROGRAM "' new new out & sleep 0.05; : >new; wait $!");
    // Whether the program was still reading is a matter of time; that it does not crash is not.
    EXPECT_TRUE(code == 0 || code == 2) << code;
    EXPECT_EQ(code == 0, folder.Has("out"));
    EXPECT_FALSE(LeftUnfinished());
}

}  // namespace
}  // namespace delta::test
