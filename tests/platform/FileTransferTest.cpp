#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <vector>

#include "platform/Files.h"
#include "tests/platform/TemporaryFolder.h"

namespace platform {
namespace {

class FileTransfer : public TemporaryFolder {
protected:
    void Create(const std::string& path) {
        ASSERT_TRUE(file_.Open(path.c_str(), Access::ReadWrite, Creation::CreateOrTruncate,
                               Share::DenyNone));
    }
    std::size_t Write(std::string_view text) {
        return file_.Write(std::as_bytes(std::span(text.data(), text.size())));
    }
    std::string Read(std::size_t count) {
        std::string text(count, '\0');
        const auto got = file_.Read(std::as_writable_bytes(std::span(text.data(), count)));
        return got < 0 ? "error" : text.substr(0, static_cast<std::size_t>(got));
    }

    FileHandle file_;
};

TEST_F(FileTransfer, PositionsLengthsAndTruncation) {
    Create(At("f"));
    EXPECT_EQ(Write("0123456789"), 10u);
    EXPECT_EQ(file_.Tell(), 10);
    EXPECT_EQ(file_.Seek(-3, SeekOrigin::End), 7);
    EXPECT_EQ(Read(100), "789");
    EXPECT_EQ(Read(1), "");
    EXPECT_EQ(file_.Seek(2, SeekOrigin::Begin), 2);
    EXPECT_EQ(file_.Seek(1, SeekOrigin::Current), 3);
    EXPECT_EQ(file_.Seek(-1, SeekOrigin::Begin), -1);
    std::array<std::byte, 4> at{};
    EXPECT_EQ(file_.ReadAt(8, at), 2);
    EXPECT_EQ(at[1], std::byte{'9'});
    EXPECT_EQ(file_.ReadAt(~std::uint64_t{0}, at), -1);
    EXPECT_EQ(file_.ReadAt((std::uint64_t{1} << 63U) - 2, at), -1);
    EXPECT_EQ(Read(2), "34");  // ReadAt moved nothing
    EXPECT_TRUE(file_.Truncate(4));
    EXPECT_EQ(file_.Length(), 4);
    EXPECT_FALSE(file_.Truncate(~std::uint64_t{0}));
    EXPECT_TRUE(file_.Commit());
    EXPECT_TRUE(file_.Close());
    EXPECT_EQ(ContentsOf("f"), "0123");
}

TEST_F(FileTransfer, ErrorsAreNotTheEndOfTheFile) {
    std::array<std::byte, 4> bytes{};
    EXPECT_EQ(file_.Read(bytes), -1);
    EXPECT_EQ(file_.ReadAt(0, bytes), -1);
    EXPECT_EQ(file_.Length(), -1);
    EXPECT_EQ(Write("x"), 0u);
    EXPECT_FALSE(file_.Commit());
}

TEST_F(FileTransfer, FullDiskStopsAWriteShort) {
    ASSERT_EQ(mkdir(At("disk").c_str(), 0755), 0);
    if (mount("tmpfs", At("disk").c_str(), "tmpfs", 0, "size=64k") != 0) {
        GTEST_SKIP() << "mounting is not permitted";
    }
    Create(At("disk/f"));
    const std::size_t written = Write(std::string(1U << 20U, 'x'));
    EXPECT_GT(written, 0u);
    EXPECT_LE(written, 65536u);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(file_.Length(), static_cast<std::int64_t>(written));
    file_.Close();
    EXPECT_EQ(umount(At("disk").c_str()), 0);
}

TEST_F(FileTransfer, FileSizeLimitStopsAWriteShort) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit limit{.rlim_cur = 1000, .rlim_max = 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
        Create(At("f"));
        _exit(Write(std::string(4000, 'x')) == 1000 && errno == EFBIG ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace platform
