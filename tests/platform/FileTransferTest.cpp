#include <sys/mount.h>
#include <sys/resource.h>

#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;

class FileTransfer : public InFolder {
protected:
    void Create(const char* path) {
        ASSERT_TRUE(
            file_.Open(path, Access::ReadWrite, Creation::CreateOrTruncate, Share::DenyNone));
    }
    std::size_t Write(std::string_view text) { return file_.Write(std::as_bytes(std::span(text))); }

    std::size_t WriteAt(std::uint64_t offset, std::string_view text) {
        return file_.WriteAt(offset, std::as_bytes(std::span(text)));
    }

    // Returns the bytes read, or "error".
    std::string Read(std::size_t count, std::optional<std::uint64_t> at = {}) {
        std::string text(count, '#');
        const auto into = std::as_writable_bytes(std::span(text));
        const auto got = at ? file_.ReadAt(*at, into) : file_.Read(into);
        return got < 0 ? "error" : text.substr(0, static_cast<std::size_t>(got));
    }

    FileHandle file_;
};

TEST_F(FileTransfer, PositionsLengthsAndTruncation) {
    Create("f");
    EXPECT_EQ(Write("0123456789"), 10u);
    EXPECT_EQ(file_.Tell(), 10);
    EXPECT_EQ(file_.Seek(-3, SeekOrigin::End), 7);
    EXPECT_EQ(Read(100), "789");
    EXPECT_EQ(Read(1), "");
    EXPECT_EQ(file_.Seek(2, SeekOrigin::Begin), 2);
    EXPECT_EQ(file_.Seek(1, SeekOrigin::Current), 3);
    EXPECT_EQ(file_.Seek(-1, SeekOrigin::Begin), -1);
    EXPECT_EQ(Read(4, 8), "89");
    EXPECT_EQ(Read(4, ~std::uint64_t{0}), "error");
    EXPECT_EQ(Read(4, (std::uint64_t{1} << 63U) - 2), "error");
    EXPECT_EQ(Read(2), "34");  // ReadAt has not moved the position
    EXPECT_EQ(WriteAt(7, "xyz!"), 4u);
    EXPECT_EQ(WriteAt((std::uint64_t{1} << 63U) - 2, "xyz!"), 0u);
    EXPECT_EQ(Read(7), "56xyz!");  // nor has WriteAt
    EXPECT_TRUE(file_.Truncate(4));
    EXPECT_EQ(file_.Length(), 4);
    EXPECT_FALSE(file_.Truncate(~std::uint64_t{0}));
    EXPECT_TRUE(file_.Commit() && file_.Close());
    EXPECT_EQ(folder.Read("f"), "0123");

    // An error is not reported as the end of the file.
    EXPECT_EQ(Read(4) + Read(4, 0), "errorerror");
    EXPECT_EQ(file_.Length(), -1);
    EXPECT_EQ(Write("x") + WriteAt(0, "x"), 0u);
    EXPECT_FALSE(file_.Commit());
}

TEST_F(FileTransfer, ATemporaryFileHasNoName) {
    ASSERT_TRUE(MakeDirectory("sub"));
    for (const char* path : {"t", "sub\\t", "/dev/shm/vorn-file-transfer-test"}) {
        ASSERT_TRUE(file_.OpenTemporary(path)) << path;
        EXPECT_FALSE(file_.OpenTemporary(path)) << "the handle is open";
        EXPECT_EQ(Write("12") + WriteAt(2, "34"), 4u);
        EXPECT_EQ(Read(9, 0), "1234");
        EXPECT_FALSE(Exists(path)) << path;
        EXPECT_TRUE(file_.Close());
    }
    EXPECT_FALSE(file_.OpenTemporary("missing/t"));
}

TEST_F(FileTransfer, AnUnnamedFileGetsItsNameWhenItIsWhole) {
    ASSERT_TRUE(MakeDirectory("sub"));
    ASSERT_TRUE(file_.OpenUnnamed("sub"));
    EXPECT_FALSE(file_.OpenUnnamed("sub")) << "it is open";
    EXPECT_EQ(Write("1234"), 4u);
    EXPECT_TRUE(fs::is_empty("sub"));
    folder.Write("sub/taken", "old");
    EXPECT_FALSE(file_.GiveName("sub/taken"));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_TRUE(file_.GiveName("sub\\new"));
    EXPECT_TRUE(file_.Close());
    EXPECT_EQ(folder.Read("sub/taken") + folder.Read("sub/new"), "old1234");

    ASSERT_TRUE(file_.OpenUnnamed("sub"));
    EXPECT_TRUE(file_.Close());
    EXPECT_FALSE(file_.GiveName("sub/closed"));
    EXPECT_FALSE(file_.OpenUnnamed("missing"));
}

TEST_F(FileTransfer, FileSizeLimitStopsAWriteShort) {
    const auto work = [this] {
        const rlimit limit{.rlim_cur = 1000, .rlim_max = 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
        Create("f");
        const bool cut =
            Write(std::string(4000, 'x')) == 1000 && LastError().kind == ErrorKind::TooLarge;
        return cut && file_.Length() == 1000;
    };
    EXPECT_EQ(InChild(work), 1);
}

TEST_F(FileTransfer, FullDiskStopsAWriteShort) {
    fs::create_directory("disk");
    if (mount("none", "disk", "tmpfs", 0, "size=64k") != 0) GTEST_SKIP() << "needs mount";
    Create("disk/f");
    EXPECT_EQ(Write(std::string(100'000, 'x')), 65'536u);
    EXPECT_EQ(LastError().kind, ErrorKind::NoSpace);
    EXPECT_EQ(LastError().Message(), "No space left on device");
    file_.Close();
    EXPECT_EQ(umount("disk"), 0);
}

}  // namespace
}  // namespace platform
