#include <cstdio>

#include "KernelStandard/TemporaryFile.h"
#include "KernelStandard/WholeFile.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

// Random operations on a File, each compared with a text in memory.
class FileReadWrite : public FileLayer {
protected:
    [[nodiscard]] std::uint32_t Random(std::size_t below) {
        return static_cast<std::uint32_t>(random_() % below);
    }

    // Mostly small, sometimes about the size of a block or several blocks.
    [[nodiscard]] std::uint32_t RandomLength() {
        const std::uint32_t lengths[] = {16384 - 5 + Random(11), Random(50000)};
        const std::uint32_t kind = Random(4);
        return kind < 2 ? lengths[kind] : Random(300);
    }

    void Read() {
        const std::uint32_t length = RandomLength();
        std::string got(length + 8, '#');
        const std::string expected =
            position_ < model_.size() ? model_.substr(position_, length) : "";
        ASSERT_EQ(file_.Read(got.data(), length), expected.size()) << "at " << position_;
        ASSERT_EQ(got.substr(0, expected.size()) + got.substr(length), expected + "########");
        position_ += expected.size();
    }

    void Seek() {
        const auto size = static_cast<std::int64_t>(model_.size());
        const auto from = static_cast<std::int64_t>(position_);
        const std::uint32_t target = Random(model_.size() + model_.size() / 16 + 2);
        const std::uint32_t origin = Random(3);
        const std::int64_t offsets[] = {target, target - from, size - target};
        ASSERT_EQ(file_.Seek(offsets[origin], static_cast<SeekFrom>(origin)), target);
        position_ = target;
    }

    void Write() {
        const std::string bytes = Noise(RandomLength() % 20000, Random(99));
        ASSERT_EQ(file_.Write(bytes.data(), static_cast<std::uint32_t>(bytes.size())),
                  bytes.size());
        if (bytes.empty()) return;
        if (model_.size() < position_ + bytes.size()) model_.resize(position_ + bytes.size());
        model_.replace(position_, bytes.size(), bytes);
        position_ += bytes.size();
    }

    void Exercise(const char* path, FileMode mode, int steps) {
        ASSERT_EQ(file_.Open(path, mode), RES_OK);
        position_ = 0;
        while (steps-- > 0 && !HasFatalFailure()) {
            const std::uint32_t step = Random((mode & kWriteKindMask) != 0 ? 16 : 9);
            if (step < 3) {
                Seek();
            } else if (step < 9) {
                Read();
            } else if (step < 15) {
                Write();
            } else {
                file_.Flush();
            }
            ASSERT_EQ(file_.Tell(), position_);
            ASSERT_EQ(file_.Size(), model_.size());
        }
        ASSERT_TRUE(file_.Close());
    }

    std::minstd_rand random_;
    File file_;
    std::string model_;
    std::size_t position_ = 0;
};

TEST_F(FileReadWrite, PlainFilesKeepWhatWasWritten) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        random_.seed(seed);
        model_ = seed % 2 == 0 ? "" : Noise(40000, seed);
        folder.Write("f", model_);
        const FileMode creation = seed % 2 == 0 ? kCreateOrTruncate : kOpenExisting;
        Exercise("f", kReadDetect | kWritePlain | creation, 200);
        ASSERT_EQ(folder.Read("f"), model_);
    }
}

TEST_F(FileReadWrite, StreamsAndMembersReadAsTheirContent) {
    model_ = Prose(20000) + Noise(33000) + Prose(47000) + Noise(5000);
    ASSERT_TRUE(Store("stream", model_, kWriteCompressed));
    const std::string stream = folder.Read("stream");
    ASSERT_LT(stream.size(), model_.size() - 30000);
    folder.Write("new.va", RawArchive({{"c", stream, 105000}, {"p", model_}}));
    std::string old = RawArchive({{"c", "CFIL" + stream.substr(12), 105000}, {"p", model_}});
    Put32(old, kVersionAt, 0x101);
    folder.Write("old.va", old);
    Mount("new", "new.va");
    Mount("old", "old.va");
    unsigned seed = 0;
    for (const char* path : {"stream", "new:c", "new:p", "old:c", "old:p"}) {
        for (int round = 0; round < 8; ++round) {
            random_.seed(++seed);
            SCOPED_TRACE(testing::Message() << path << " with seed " << seed);
            Exercise(path, kReadDetect, 100);
        }
    }
}

// Each row damages 20,000 bytes in one form at one place.
TEST_F(FileReadWrite, DamageIsToldFromTheEnd) {
    const std::string content = Prose(20000);
    ASSERT_TRUE(Store("s", content, kWriteCompressed));
    const std::string stream = folder.Read("s");
    const std::size_t secondBlock = 14u + static_cast<unsigned char>(stream[12]) +
                                    (static_cast<unsigned char>(stream[13]) & 0x7Fu) * 256u;
    const auto spoil = [&](std::size_t at) {
        std::string bytes = stream;
        return bytes.replace(at, 2, "\xFF\x7F");
    };
    for (const auto& [what, bytes, whole] : Table<const char*, std::string, bool>{
             {"plain", content, true},
             {"empty", "", true},
             {"good", stream, true},
             {"header only", stream.substr(0, 12), false},
             {"cut in the first block", stream.substr(0, 20), false},
             {"first block", spoil(12), false},
             {"second block", spoil(secondBlock), false},
             {"cut in the second block", stream.substr(0, stream.size() - 1), false}}) {
        folder.Write("f", bytes);
        folder.Write("a.va", RawArchive({{"f", bytes, 20000}}));
        Mount("arc", "a.va");
        for (const char* path : {"f", "arc:f"}) {
            if (bytes.empty() && path != "f"s) continue;  // that member claims bytes it lacks
            SCOPED_TRACE(what + ": "s + path);
            ASSERT_EQ(file_.Open(path, kReadDetect), RES_OK);
            EXPECT_FALSE(file_.ReadFailed()) << "that was the file before";
            const auto read = ReadToEnd(file_);
            EXPECT_EQ(read.has_value(), whole);
            EXPECT_EQ(file_.ReadFailed(), !whole);
            if (whole) {
                EXPECT_EQ(read.value().size(), bytes.empty() ? 0u : content.size());
            } else {
                EXPECT_EQ(ReadToEnd(file_), std::nullopt) << "though the size is now 0";
            }
            EXPECT_TRUE(file_.Close());

            ASSERT_EQ(file_.Open(path, kReadDetect), RES_OK);
            EXPECT_TRUE(file_.Seek(19999, SeekFrom::Start) == 19999u || !whole);
            char last = 0;
            EXPECT_EQ(file_.Read(&last, 1) == 1, !file_.ReadFailed() && !bytes.empty());
            EXPECT_TRUE(file_.Close());
        }
    }
}

TEST_F(FileReadWrite, CompressedWritingFollowsNoLinkUnderItsTemporaryName) {
    folder.Write("victim", "kept");
    const std::string used = MakeTemporaryName().data();
    const std::size_t mark = used.find('T') + 1;
    const unsigned long next = std::stoul(used.substr(mark), nullptr, 16) + 1;
    for (unsigned long n = next; n < next + 5; ++n) {
        std::array<char, 9> digits{};
        std::snprintf(digits.data(), digits.size(), "%08lX", n);
        fs::create_symlink("victim", used.substr(0, mark) + digits.data());
    }
    EXPECT_TRUE(Store("f", Prose(30000), kWriteCompressed));
    EXPECT_EQ(Contents("f", kReadCompressed), Prose(30000));
    EXPECT_EQ(folder.Read("victim"), "kept");
    EXPECT_EQ(NamesOf("*.T????????").size(), 5U);
}

TEST_F(FileReadWrite, CompressedWritingKeepsTheContent) {
    Mount("dir", "sub/", true);
    std::vector<std::string> paths = {"f", "dir:f", folder.Path("g")};
    const fs::path otherFileSystem = "/dev/shm/" + fs::path(folder.Path()).filename().string();
    std::error_code error;
    const bool hasOther = fs::create_directory(otherFileSystem, error);
    if (hasOther) paths.push_back(otherFileSystem / "f");
    for (const std::size_t size : {0u, 1u, 16383u, 16384u, 16385u, 32768u, 100000u}) {
        for (const std::string& path : paths) {
            const std::string content = Prose(size / 2) + Noise(size - size / 2);
            EXPECT_TRUE(Store(path, content, kWriteCompressed)) << path;
            EXPECT_EQ(Contents(path, kReadCompressed), content) << path << " " << size;
        }
        EXPECT_THAT(NamesOf("*.T????????"), IsEmpty());
    }
    if (hasOther) fs::remove_all(otherFileSystem);

    std::string pairs;
    while (pairs.size() < 64) pairs += "ab";
    EXPECT_TRUE(Store("example", pairs, kWriteCompressed));
    EXPECT_EQ(folder.Read("example"), ExampleOf("stream.md"));
}

TEST_F(FileReadWrite, WholeElementsAreCountedAndSeekRefusesWhatIsNoPosition) {
    ASSERT_EQ(file_.Open("f", kReadPlain | kWritePlain | kCreateOrTruncate), RES_OK);
    EXPECT_EQ(file_.Write("0123456789", 3, 3), 3u);
    EXPECT_EQ(file_.Write("", 5, 0), 0u);
    EXPECT_EQ(file_.Seek(8, SeekFrom::End), 1u);
    char buffer[16] = {};
    EXPECT_EQ(file_.Read(buffer, 3, 3), 2u);
    EXPECT_STREQ(buffer, "12345678");
    EXPECT_EQ(file_.Read(buffer, 0, 3), 0u);
    EXPECT_FALSE(file_.ReadFailed()) << "the end of a file is not a failure";
    for (const auto& [offset, origin] : Table<std::int64_t, int>{{-1, 0},
                                                                 {-10, 1},
                                                                 {10, 2},
                                                                 {0, 3},
                                                                 {std::int64_t{1} << 33, 0},
                                                                 {0xFFFFFFFF, 0},
                                                                 {INT64_MIN, 2}}) {
        EXPECT_EQ(file_.Seek(offset, static_cast<SeekFrom>(origin)), kFailedSeek) << offset;
        EXPECT_EQ(file_.Tell(), 9u);
    }
}

}  // namespace
}  // namespace Vorn::Testing
