#include <gmock/gmock.h>

#include <random>

#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

// Random operations on a File, each held against a text in memory.
class FileReadWrite : public FileLayer {
protected:
    [[nodiscard]] std::uint32_t Random(std::uint32_t below) {
        return static_cast<std::uint32_t>(random_() % below);
    }

    // Mostly around the size of a block, often small, now and then several blocks.
    [[nodiscard]] std::uint32_t RandomLength() {
        switch (Random(4)) {
            case 0:
                return 16384 - 5 + Random(11);
            case 1:
                return Random(50000);
            default:
                return Random(300);
        }
    }

    void Read(File& file, std::string_view model, std::size_t& position) {
        const std::uint32_t length = RandomLength();
        std::string got(length + 8, '#');
        const std::size_t held = model.size() - std::min(model.size(), position);
        const std::size_t expected = std::min<std::size_t>(length, held);
        ASSERT_EQ(file.Read(got.data(), length), expected) << "at " << position;
        ASSERT_EQ(got.substr(length), "########");
        if (expected > 0) {
            ASSERT_EQ(model.substr(position, expected), got.substr(0, expected));
        }
        position += expected;
    }

    void Seek(File& file, std::size_t size, std::size_t& position) {
        const auto target = Random(static_cast<std::uint32_t>(size + size / 16 + 2));
        const auto at = static_cast<std::int64_t>(target);
        const auto from = static_cast<std::int64_t>(position);
        switch (Random(3)) {
            case 0:
                ASSERT_EQ(file.Seek(at, SeekFrom::Start), target);
                break;
            case 1:
                ASSERT_EQ(file.Seek(at - from, SeekFrom::Current), target);
                break;
            default:
                ASSERT_EQ(file.Seek(static_cast<std::int64_t>(size) - at, SeekFrom::End), target);
        }
        position = target;
    }

    static void Write(File& file, std::string_view bytes, std::string& model,
                      std::size_t& position) {
        ASSERT_EQ(file.Write(bytes.data(), static_cast<std::uint32_t>(bytes.size())), bytes.size());
        if (bytes.empty()) return;
        if (model.size() < position + bytes.size()) model.resize(position + bytes.size());
        model.replace(position, bytes.size(), bytes);
        position += bytes.size();
    }

    std::minstd_rand random_;
};

TEST_F(FileReadWrite, PlainFilesKeepWhatWasWritten) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        random_.seed(seed);
        std::string model = seed % 2 == 0 ? "" : Noise(40000, seed);
        folder.Write("f", model);
        File file;
        const FileMode creation = seed % 2 == 0 ? kCreateOrTruncate : kOpenExisting;
        ASSERT_EQ(file.Open("f", kReadDetect | kWritePlain | creation), RES_OK);
        std::size_t position = 0;
        for (int step = 0; step < 200 && !HasFatalFailure(); ++step) {
            switch (Random(4)) {
                case 0:
                    Seek(file, model.size(), position);
                    break;
                case 1:
                    Read(file, model, position);
                    break;
                case 2:
                    Write(file, Noise(RandomLength() % 20000, seed), model, position);
                    break;
                default:
                    if (Random(4) == 0) file.Flush();
            }
            ASSERT_EQ(file.Tell(), position);
            ASSERT_EQ(file.Size(), model.size());
        }
        ASSERT_TRUE(file.Close());
        ASSERT_EQ(folder.Read("f"), model);
    }
}

TEST_F(FileReadWrite, StreamsAndMembersReadAsTheirContent) {
    const std::string content = Prose(20000) + Noise(33000) + Prose(47000) + Noise(5000);
    ASSERT_TRUE(Store("stream", content, kWriteCompressed));
    const std::string stream = folder.Read("stream");
    ASSERT_LT(stream.size(), content.size() - 30000);
    const auto size = static_cast<std::uint32_t>(content.size());
    folder.Write("new.va", RawArchive({{"c", stream, size}, {"p", content}}));
    std::string old = RawArchive({{"c", "CFIL" + stream.substr(12), size}});
    Put32(old, kVersionAt, 0x101);
    folder.Write("old.va", old);
    Mount("new", "new.va");
    Mount("old", "old.va");
    unsigned seed = 0;
    for (const char* path : {"stream", "new:c", "new:p", "old:c"}) {
        for (int round = 0; round < 8; ++round) {
            random_.seed(++seed);
            SCOPED_TRACE(testing::Message() << path << " with seed " << seed);
            File file;
            ASSERT_EQ(file.Open(path, kReadDetect), RES_OK);
            ASSERT_EQ(file.Size(), size);
            std::size_t position = 0;
            for (int step = 0; step < 100 && !HasFatalFailure(); ++step) {
                if (Random(3) == 0) {
                    Seek(file, content.size(), position);
                } else {
                    Read(file, content, position);
                }
                ASSERT_EQ(file.Tell(), position);
            }
        }
    }
}

TEST_F(FileReadWrite, CompressedWritingKeepsTheContent) {
    Mount("dir", "sub/", true);
    for (const std::size_t size : {0u, 1u, 16383u, 16384u, 16385u, 32768u, 100000u}) {
        for (const std::string& path : {std::string("f"), std::string("dir:f"), folder.Path("g")}) {
            const std::string content = Prose(size / 2) + Noise(size - size / 2);
            ASSERT_TRUE(Store(path, content, kWriteCompressed)) << path;
            EXPECT_EQ(Contents(path, kReadCompressed), content) << path << " " << size;
        }
        EXPECT_THAT(NamesOf("*.T????????"), testing::IsEmpty());
    }
}

TEST_F(FileReadWrite, CompressedWritingReachesOtherFileSystems) {
    const TempFolder elsewhere;
    std::error_code error;
    const std::filesystem::path other =
        "/dev/shm/" + std::filesystem::path(folder.Path()).filename().string();
    std::filesystem::create_directory(other, error);
    if (error) GTEST_SKIP() << "needs a second file system";
    const bool stored = Store(other / "f", Prose(50000), kWriteCompressed);
    const auto content = Contents(other / "f", kReadCompressed);
    std::filesystem::remove_all(other);
    EXPECT_TRUE(stored);
    EXPECT_EQ(content, Prose(50000));
    EXPECT_THAT(NamesOf("*.T????????"), testing::IsEmpty());
}

TEST_F(FileReadWrite, WholeElementsAreCounted) {
    File file;
    ASSERT_EQ(file.Open("f", kReadPlain | kWritePlain | kCreateOrTruncate), RES_OK);
    EXPECT_EQ(file.Write("0123456789", 3, 3), 3u);
    EXPECT_EQ(file.Write("", 5, 0), 0u);
    file.Seek(1, SeekFrom::Start);
    char buffer[16] = {};
    EXPECT_EQ(file.Read(buffer, 3, 3), 2u);
    EXPECT_STREQ(buffer, "12345678");
    EXPECT_EQ(file.Read(buffer, 0, 3), 0u);
}

TEST_F(FileReadWrite, SeekCountsFromThreeOrigins) {
    folder.Write("f", Noise(100));
    File file;
    ASSERT_EQ(file.Open("f", kReadDetect), RES_OK);
    EXPECT_EQ(file.Seek(10, SeekFrom::End), 90u);
    EXPECT_EQ(file.Seek(-20, SeekFrom::Current), 70u);
    const struct {
        std::int64_t offset;
        SeekFrom origin;
    } refused[] = {{-1, SeekFrom::Start},
                   {-71, SeekFrom::Current},
                   {101, SeekFrom::End},
                   {0, static_cast<SeekFrom>(3)},
                   {std::int64_t{1} << 33, SeekFrom::Start},
                   {0xFFFFFFFF, SeekFrom::Start},
                   {INT64_MIN, SeekFrom::End}};
    for (const auto& row : refused) {
        EXPECT_EQ(file.Seek(row.offset, row.origin), kFailedSeek) << row.offset;
        EXPECT_EQ(file.Tell(), 70u);
    }
}

}  // namespace
}  // namespace Vorn::Testing
