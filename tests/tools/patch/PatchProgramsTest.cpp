#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/tools/patch/Samples.h"

namespace vdiff::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// Both programs in a folder of their own, run through the shell.
class PatchPrograms : public testing::Test {
public:
    ~PatchPrograms() override { fs::remove_all(folder_); }

protected:
    PatchPrograms() {
        std::string name = (fs::temp_directory_path() / "patch_test_").string();
        name += testing::UnitTest::GetInstance()->current_test_info()->name();
        folder_ = name;
        fs::remove_all(folder_);
        fs::create_directories(folder_);
        Write("old", Config(3000, 1));
        Write("new", Config(3500, 1));
    }
    void Write(const std::string& name, const ByteBuffer& bytes) const {
        std::ofstream(folder_ / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }

    [[nodiscard]] std::string Read(const std::string& name) const {
        std::ifstream in(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // The exit code of a command line that starts in the folder; its output is in "stdout" and
    // "stderr".
    int Shell(const std::string& command) const {
        const std::string line =
            "cd '" + folder_.string() + "' && { " + command + "; } >stdout 2>stderr; echo $? >code";
        if (std::system(line.c_str()) != 0)
            return -1;  // NOLINT(cert-env33-c,concurrency-mt-unsafe)
        return std::stoi(Read("code"));
    }
    int Diff(const std::string& operands) const {
        return Shell(std::string("'") + DIFF_PROGRAM + "' " + operands);
    }
    int Patch(const std::string& operands) const {
        return Shell(std::string("'") + PATCH_PROGRAM + "' " + operands);
    }

    // A failure tells why in one line.
    void ExpectOneLine(const char* program) const {
        const std::string line = Read("stderr");
        EXPECT_THAT(line, StartsWith(std::string(program) + ": "));
        EXPECT_EQ(line.find('\n'), line.size() - 1);
    }
    [[nodiscard]] bool Exists(const char* name) const { return fs::exists(folder_ / name); }
    [[nodiscard]] bool LeftUnfinished() const {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder_)) {
            if (entry.path().extension() == ".tmp") return true;
        }
        return false;
    }

    fs::path folder_;
};

TEST_F(PatchPrograms, MakeAndApplyADiffInSilence) {
    EXPECT_EQ(Diff("old new diff"), 0);
    EXPECT_THAT(Read("stdout") + Read("stderr"), IsEmpty());
    Write("out", FromText("an earlier file"));
    EXPECT_EQ(Patch("old diff out"), 0);
    EXPECT_THAT(Read("stdout") + Read("stderr"), IsEmpty());
    EXPECT_EQ(Read("out"), Read("new"));
    EXPECT_LT(fs::file_size(folder_ / "diff"), 400U);
    EXPECT_FALSE(LeftUnfinished());
}

TEST_F(PatchPrograms, MappedFilesMakeTheRoundTrip) {
    ByteBuffer large = Noise(65U << 20, 1);
    Write("old", large);
    for (std::size_t i = 1000; i < large.size(); i += 3'000'000) ++large[i];
    large.erase(large.begin() + 5'000'000, large.begin() + 5'000'100);
    Write("new", large);
    EXPECT_EQ(Diff("old new diff"), 0);
    EXPECT_EQ(Patch("old diff out"), 0);
    EXPECT_LT(fs::file_size(folder_ / "diff"), 400U);
    EXPECT_EQ(Shell("cmp new out"), 0);
}

TEST_F(PatchPrograms, ExplainThemselves) {
    EXPECT_EQ(Diff("--help"), 0);
    EXPECT_THAT(Read("stdout"), StartsWith("usage: vdiffl-w32.exe OLD NEW OUT\n"));
    EXPECT_EQ(Patch("--help"), 0);
    EXPECT_THAT(Read("stdout"), StartsWith("usage: vpatchl-w32.exe OLD DIFF OUT\n"));
    EXPECT_EQ(Patch("--version"), 0);
    EXPECT_THAT(Read("stdout"), StartsWith("vpatchl-w32.exe "));
}

TEST_F(PatchPrograms, FailWithACodeALineAndNoOutput) {
    ASSERT_EQ(Diff("old new diff"), 0);
    ASSERT_EQ(Shell("head -c 40 diff >cut; : >empty; mkdir dir"), 0);
    const struct {
        const char* operands;
        int code;
        bool patch;
    } rows[] = {
        {"", 1, false},
        {"old new", 1, false},
        {"old diff out more", 1, true},
        {"missing new out", 2, false},
        {"old dir out", 2, false},
        {"old missing out", 2, true},
        {"old new missing/out", 3, false},
        {"old new dir", 3, false},
        {"old diff /dev/null", 3, true},
        {"old cut out", 4, true},
        {"old empty out", 4, true},
        {"old new out", 4, true},
        {"new diff out", 5, true},
        {"old \"$(printf 'two\\nlines')\" out", 2, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.operands);
        EXPECT_EQ(row.patch ? Patch(row.operands) : Diff(row.operands), row.code);
        ExpectOneLine(row.patch ? "vpatchl-w32.exe" : "vdiffl-w32.exe");
        EXPECT_FALSE(Exists("out"));
        EXPECT_FALSE(LeftUnfinished());
    }
    Write("kept", FromText("as it was"));
    EXPECT_EQ(Patch("old cut kept"), 4);
    EXPECT_EQ(Read("kept"), "as it was");
}

TEST_F(PatchPrograms, AFullDiskLeavesNothing) {
    Write("new", Noise(300'000, 1));
    EXPECT_EQ(Shell(std::string("ulimit -f 8; '") + DIFF_PROGRAM + "' old new out"), 3);
    EXPECT_THAT(Read("stderr"), EndsWith("cannot write out: File too large\n"));
    EXPECT_FALSE(Exists("out") || LeftUnfinished());

    if (Shell("mkdir tiny && mount -t tmpfs -o size=64k none tiny") != 0) {
        GTEST_SKIP() << "mounting is not permitted";
    }
    EXPECT_EQ(Diff("old new tiny/out"), 3);
    EXPECT_THAT(Read("stderr"), HasSubstr("No space left"));
    const bool left = Exists("tiny/out") || LeftUnfinished();
    EXPECT_EQ(Shell("umount tiny"), 0);
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
    const std::string limited =
        std::string("ulimit -v 100000; '") + PATCH_PROGRAM + "' old diff out";
    EXPECT_EQ(Shell(limited), 4) << Read("stderr");

    ByteBuffer huge = WithPayload(FromText("abcdefgh"), 8, Method::Modelled, Noise(20, 1));
    const ByteBuffer newSize{0xee, 0xff, 0xff, 0xff, 0x1f};
    huge.erase(huge.begin() + 3);
    huge.insert(huge.begin() + 3, newSize.begin(), newSize.end());
    Write("diff", huge);
    EXPECT_EQ(Shell(limited), 6);
    ExpectOneLine("vpatchl-w32.exe");
}

TEST_F(PatchPrograms, AnInputThatShrinksWhileMappedIsAnError) {
    Write("new", Noise(70U << 20, 1));
    const std::string shrinking =
        std::string("'") + DIFF_PROGRAM + "' new new out & sleep 0.05; : >new; wait $!";
    const int code = Shell(shrinking);
    // Whether the program was still reading is a matter of time; that it does not crash is not.
    EXPECT_TRUE(code == 0 || code == 2) << code;
    EXPECT_EQ(code == 0, Exists("out"));
    EXPECT_FALSE(LeftUnfinished());
}

}  // namespace
}  // namespace vdiff::test
