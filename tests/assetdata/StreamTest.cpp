#include "assetdata/NorvaneEx.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TFile.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

// Shows what is asked of a store.
class WatchedStream final : public TStream {
public:
    explicit WatchedStream(std::string bytes) : bytes_(std::move(bytes)) {}

    bool Truncate() override { return false; }
    [[nodiscard]] std::uint32_t Tell() const override { return position_ - Unread(); }
    [[nodiscard]] bool IsOpen() const override { return true; }
    std::uint32_t Write(const void* /*bytes*/, std::uint32_t /*count*/) override { return 0; }
    std::uint32_t ReadRaw(void* bytes, std::uint32_t count) override {
        requests.push_back(count);
        const std::size_t got = bytes_.copy(static_cast<char*>(bytes), count, position_);
        position_ += static_cast<std::uint32_t>(got);
        return static_cast<std::uint32_t>(got);
    }
    bool Seek(std::int64_t offset, SeekFrom origin) override {
        ++seeks;
        if (origin == SeekFrom::Current) offset += Tell();
        if (origin == SeekFrom::End) offset = static_cast<std::int64_t>(bytes_.size()) - offset;
        position_ = static_cast<std::uint32_t>(offset);
        EmptyBuffer();
        return true;
    }
    [[nodiscard]] bool IsEOF() override { return Unread() == 0 && position_ == bytes_.size(); }

    std::vector<std::uint32_t> requests;
    int seeks = 0;

private:
    std::string bytes_;
    std::uint32_t position_ = 0;
};

TEST(Streams, RefillsKeepSixteenBytesToStepBackOver) {
    const std::string bytes = Noise(10000);
    WatchedStream stream(bytes);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        ASSERT_EQ(stream.ReadByte(), static_cast<std::uint8_t>(bytes[at])) << at;
        if (at != 4096 && at != 8176) continue;
        for (std::size_t back = 0; back < 17; ++back) stream.StepBack();
        ASSERT_EQ(stream.Tell(), at - 16);
        for (std::size_t again = at - 16; again <= at; ++again) {
            ASSERT_EQ(stream.ReadByte(), static_cast<std::uint8_t>(bytes[again]));
        }
    }
    EXPECT_THAT(stream.requests, ElementsAre(4096, 4080, 4080));
    EXPECT_EQ(stream.seeks, 0);
    EXPECT_TRUE(stream.IsEOF());
    EXPECT_EQ(stream.ReadByte(), 0);
}

TEST(Streams, LargeReadsPassTheBuffer) {
    const std::string bytes = Noise(20000);
    WatchedStream stream(bytes);
    std::string got;
    for (const std::uint32_t count : {5000, 100, 3996 + 4079, 4081, 5000}) {
        std::string piece(count, '\0');
        piece.resize(stream.Read(piece.data(), count));
        got += piece;
        EXPECT_EQ(stream.Tell(), got.size());
        EXPECT_EQ(stream.Length(), 20000u);
    }
    EXPECT_EQ(got, bytes);
    EXPECT_THAT(stream.requests, ElementsAre(5000, 4096, 4080, 4080, 5000));
}

// Random operations on a stream over a store, and on a text that models it.
class StreamModel {
public:
    StreamModel(TStream& stream, unsigned seed) : stream_(stream), random_(seed) {}

    void Run(int operations) {
        for (; operations > 0 && !testing::Test::HasFatalFailure(); --operations) {
            Step();
            ASSERT_EQ(stream_.Tell(), position_);
            ASSERT_EQ(stream_.IsEOF(), position_ == text_.size());
        }
    }

private:
    void Step() {
        switch (random_() % 9) {
            case 0:
                return Read(random_() % 9000);
            case 1:
                return Read(random_() % 40);
            case 2:
                return Write(Noise(random_() % (random_() % 8 == 0 ? 3000 : 20)));
            case 3:
                for (auto left = random_() % 30; left > 0; --left) {
                    stream_.StepBack();
                    position_ -= position_ > 0 ? 1 : 0;
                }
                return;
            case 4:
                return SeekTo(static_cast<std::int64_t>(random_() % (text_.size() + 1)));
            case 5:
                ASSERT_EQ(stream_.Length(), text_.size());
                return;
            case 6:
                position_ = random_() % (text_.size() + 1);
                ASSERT_TRUE(stream_.ReturnTo(static_cast<std::uint32_t>(position_)));
                return;
            default:
                const bool atEnd = position_ == text_.size();
                ASSERT_EQ(stream_.ReadByte(),
                          atEnd ? 0 : static_cast<std::uint8_t>(text_[position_]));
                position_ += atEnd ? 0 : 1;
        }
    }

    void Read(std::size_t count) {
        std::string got(count, '\0');
        got.resize(stream_.Read(got.data(), static_cast<std::uint32_t>(count)));
        ASSERT_EQ(got, text_.substr(position_, count));
        position_ += got.size();
    }
    void Write(const std::string& bytes) {
        ASSERT_EQ(stream_.Write(bytes.data(), static_cast<std::uint32_t>(bytes.size())),
                  bytes.size());
        text_.replace(position_, bytes.size(), bytes);
        position_ += bytes.size();
    }
    void SeekTo(std::int64_t to) {
        const std::pair<std::int64_t, SeekFrom> ways[] = {
            {to, SeekFrom::Start},
            {to - static_cast<std::int64_t>(position_), SeekFrom::Current},
            {static_cast<std::int64_t>(text_.size()) - to, SeekFrom::End}};
        const auto& [offset, origin] = ways[random_() % 3];
        ASSERT_TRUE(stream_.Seek(offset, origin));
        position_ = static_cast<std::size_t>(to);
    }

    TStream& stream_;
    std::mt19937 random_;
    std::string text_;
    std::size_t position_ = 0;
};

using StreamFiles = FileLayer;

TEST_F(StreamFiles, BothStoresReadAndWriteAtTheLogicalPosition) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        TBufferBlock block(256);
        TBuffer buffer(block);
        StreamModel(buffer, seed).Run(400);
        File file;
        ASSERT_EQ(file.Open("f", kWritePlain | kReadPlain | kCreateOrTruncate), RES_OK);
        TFile stream(file);
        StreamModel(stream, seed).Run(400);
    }
}

TEST_F(StreamFiles, FilesAreBorrowedOrOwned) {
    ASSERT_TRUE(Store("f", Prose(9000)));
    File file;
    ASSERT_EQ(file.Open("f", kReadPlain), RES_OK);
    {
        TFile borrowed(file);
        for (int i = 0; i < 5; ++i) (void)borrowed.ReadByte();
        EXPECT_FALSE(borrowed.HasError());
    }
    EXPECT_EQ(file.Tell(), 5u);
    ASSERT_TRUE(file.Close());
    {
        auto owned = std::make_unique<File>();
        ASSERT_EQ(owned->Open("f", kWritePlain | kReadPlain), RES_OK);
        TFile stream(std::move(owned));
        EXPECT_EQ(stream.ReadByte(), static_cast<std::uint8_t>(Prose(1)[0]));
        EXPECT_TRUE(stream.Truncate());
        EXPECT_EQ(stream.Write("new", 3), 3u);
    }
    EXPECT_EQ(Contents("f"), "new");
    EXPECT_EQ(File::OpenFileCount(), 0);

    TFile none;
    char byte = 0;
    EXPECT_EQ(none.Read(&byte, 1), 0u);
    EXPECT_TRUE(none.HasError() && none.IsEOF() && !none.IsOpen());
    EXPECT_EQ(TFile().Write(&byte, 1), 0u);
    TFile idle;
    EXPECT_FALSE(idle.Seek(0, SeekFrom::Start));
    EXPECT_TRUE(idle.HasError());
}

TEST_F(StreamFiles, MembersAreNotTruncated) {
    ASSERT_TRUE(Store("a.txt", "beside the archive"));
    Mount("arc", "a.va", true);
    ASSERT_TRUE(Store("arc:a.txt", "inside"));
    File file;
    ASSERT_EQ(file.Open("arc:a.txt", kReadDetect), RES_OK);
    TFile stream(file);
    EXPECT_FALSE(stream.Truncate());
    EXPECT_EQ(stream.ReadByte(), 'i');
    EXPECT_EQ(Contents("a.txt"), "beside the archive");
}

TEST(MemoryStreams, BlocksGrowInStepsAndFixedOnesNotAtAll) {
    TBufferBlock block(256);
    TBuffer stream(block);
    EXPECT_EQ(stream.Write(Noise(300).data(), 300), 300u);
    EXPECT_EQ(block.Capacity(), 512u);
    EXPECT_TRUE(stream.Seek(1000, SeekFrom::Start));
    EXPECT_EQ(stream.Tell(), 512u) << "at most the capacity";
    EXPECT_TRUE(stream.Seek(310, SeekFrom::Start));
    EXPECT_EQ(stream.Write("x", 1), 1u);
    EXPECT_EQ(block.Length(), 311u);
    EXPECT_EQ(block.Content()[305], std::byte{0}) << "bytes never written are zero";
    stream.Seek(400, SeekFrom::Start);
    EXPECT_TRUE(stream.IsEOF());
    EXPECT_EQ(stream.ReadByte(), 0);
    EXPECT_TRUE(stream.Truncate());
    EXPECT_EQ(block.Length(), 0u);
    stream.Seek(400, SeekFrom::Start);
    EXPECT_EQ(stream.Write("x", 1), 1u);
    EXPECT_EQ(block.Content()[305], std::byte{0}) << "nor do old ones come back";

    const std::string text = "fixed";
    TBufferBlock fixed(std::as_bytes(std::span(text)));
    TBuffer view(fixed);
    EXPECT_EQ(view.Write("x", 1), 0u);
    EXPECT_EQ(view.ReadByte(), 'f');
    EXPECT_THROW(TBufferBlock(0), NorvaneEx);

    TBufferBlock huge(0x80000001);  // memory that is never touched
    TBuffer last(huge);
    EXPECT_EQ(last.Write("x", 1), 1u);
    EXPECT_TRUE(last.Seek(0x80000001, SeekFrom::Start));
    EXPECT_EQ(last.Write("x", 1), 0u) << "the next step would pass 4 GiB";
}

}  // namespace
}  // namespace Vorn::Testing
