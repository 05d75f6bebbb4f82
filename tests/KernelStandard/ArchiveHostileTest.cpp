#include <fstream>

#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

// Damaged and forged archives: whatever the bytes, every operation returns.
class ArchiveHostile : public ArchiveLayer {
protected:
    // Mounts, lists, reads everything and tries to add; at most `most` bytes are read in all.
    void Exercise(const std::string& bytes, std::size_t most = 40000) {
        const auto changed = std::ranges::mismatch(bytes, good_).in1 - bytes.begin();
        SCOPED_TRACE(testing::Message() << bytes.size() << " bytes, changed at " << changed);
        MountBytes(bytes, true);
        std::size_t read = NamesOf("arc:*").size() + NamesOf("arc:dir/*").size();
        for (const char* path : {"arc:a", "arc:dir/c", "arc:missing"}) {
            read += Contents(path).value_or("").size();
            read += Contents(path, kReadPlain).value_or("").size();
            (void)TimeOf(path);
        }
        EXPECT_LE(read, most);
        (void)File::Exists("arc:dir");
        const bool added = Store("arc:new", "fresh");
        EXPECT_EQ(Contents("arc:new") == "fresh", added);
        (void)File::Delete("arc:a");
        EXPECT_LT(CloseAndRead().size(), bytes.size() + 20000);
        Mount("arc", "a.va");
        EXPECT_EQ(Contents("arc:new") == "fresh", added);
        Unmount("arc");
        ++rounds_;
    }

    std::string StreamOf(std::string_view content) {
        (void)Store("stream.tmp", content, kWriteCompressed);
        return folder.Read("stream.tmp");
    }

    const std::string good_ = RawArchive({{"a", "hello"}, {"dir/c", StreamOf(Prose(500)), 500}});
    const std::size_t index_ = Get32(good_, kIndexOffsetAt);
    int rounds_ = 0;
};

TEST_F(ArchiveHostile, PrefixesAndChangedBytes) {
    for (std::size_t size = 0; size < good_.size(); size += size < 60 ? 1 : 7) {
        Exercise(good_.substr(0, size), 3000);
    }
    EXPECT_GT(rounds_, 200);
    for (std::size_t at = 0; at < good_.size(); ++at) {
        // Names are long and their bytes are alike: a few are enough.
        const std::size_t inEntry = at < index_ ? at - 52 : (at - index_ - 16) % 296;
        if (at >= 52 && inEntry >= 12 && inEntry < 258) continue;
        for (const int flip : {0x01, 0xFF}) {
            std::string bytes = good_;
            bytes[at] = static_cast<char>(bytes[at] ^ flip);
            Exercise(bytes);
        }
    }
    EXPECT_GT(rounds_, 700);
}

TEST_F(ArchiveHostile, NumbersThatLie) {
    const std::vector<std::size_t> values = {
        0,          1,          4,         44, 287, 288, 296, 0x7FFFFFFF, index_, good_.size(),
        0xFFFFFED8, 0xFFFFFFF8, 0xFFFFFFFF};
    const std::size_t first = index_ + 8;
    const std::size_t second = first + 296;
    const Table<const char*, std::size_t> places = {
        {"length of INFO", 8},
        {"member count", kCountAt},
        {"index offset", kIndexOffsetAt},
        {"length of the first chunk", 48},
        {"content size of the first member", 312},
        {"length of the index", index_ + 4},
        {"data offset of the first record", first},
        {"stored size of the first record", first + 4},
        {"content size of the first record", first + 268},
        {"data offset of the second record", second},
        {"stored size of the second record", second + 4},
    };
    for (const auto& [field, at] : places) {
        SCOPED_TRACE(field);
        for (const auto value : values) Exercise(std::string(good_).replace(at, 4, U32(value)));
    }
}

TEST_F(ArchiveHostile, NamesWithoutAnEndOrWithOddParts) {
    std::vector<RawMember> members = {{std::string(260, 'n'), "x"}};
    for (const char* name : {
             "",
             "/",
             "//",
             "../../etc/passwd",
             "c:\\x",
             "a:b",
             ".",
             "..",
             "a//b",
             "*",
             "?;*",
         }) {
        members.push_back({name, ""});
    }
    for (const bool withIndex : {true, false}) {
        MountBytes(RawArchive(members, withIndex));
        for (const std::string& name : NamesOf("arc:*")) {
            EXPECT_LT(name.size(), 260u);
            EXPECT_EQ(name.find_first_of("/\\:"), std::string::npos) << name;
        }
        EXPECT_EQ(Contents("arc:" + std::string(259, 'n')), "x");
        Unmount("arc");
    }
}

// Returns the bytes that this process has read so far; 0 if the system does not count them.
std::uint64_t BytesRead() {
    std::ifstream counters("/proc/self/io");
    std::string label;
    std::uint64_t count = 0;
    counters >> label >> count;
    return count;
}

TEST_F(ArchiveHostile, ManyTinyChunksCostOneWalk) {
    constexpr std::size_t kTail = std::size_t{4} << 20;
    MountBytes(RawArchive({{"a", "1"}}, false) + std::string(kTail, '\0'));
    const std::uint64_t before = BytesRead();
    if (before == 0) GTEST_SKIP() << "the system does not count what is read";
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(File::Exists(("arc:missing" + std::to_string(i)).c_str()), RES_FILENOTFOUND);
    }
    EXPECT_LT(BytesRead() - before, 2 * kTail);
}

TEST_F(ArchiveHostile, DamagedStreamsEndWhereTheDamageIs) {
    const std::string good = StreamOf(Prose(40000));
    const std::size_t second = 14 + Get32(good, 12) % 0x8000;
    const std::size_t third = second + 2 + Get32(good, second) % 0x8000;
    const auto with = [&good](std::size_t at, std::string_view bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    const Table<const char*, std::string, std::size_t> rows = {
        {"whole", good, 40000},
        {"cut in the third block", good.substr(0, good.size() - 1), 32768},
        {"cut in a block's header", good.substr(0, third + 1), 32768},
        {"a block of 32,767 bytes", with(second, "\xFF\x7F"), 16384},
        {"a stored block of 32,767 bytes", with(second, "\xFF\xFF"), 16384},
        {"a block of no bytes", with(second, "\0\0"sv), 16384},
        {"a short block", with(second, "\x10\0"sv), 16384},
        {"a content size that is too large", with(8, "\xFF\xFF\xFF\xFF"), 32768},
        {"a content size that is too small", with(8, U32(100)), 0},
        {"a smaller content size at a block's end", with(8, U32(16384)), 16384}};
    for (const auto& [what, stream, content] : rows) {
        SCOPED_TRACE(what);
        folder.Write("s", stream);
        EXPECT_EQ(Contents("s"), Prose(content));
        File file;
        ASSERT_EQ(file.Open("s", kReadCompressed), RES_OK);
        EXPECT_EQ(file.Seek(39999, SeekFrom::Start) == 39999 && file.Read(&file, 0, 1) == 0 &&
                      file.Size() == 40000,
                  content == 40000);
    }
}

TEST_F(ArchiveHostile, APlainMemberWhoseEndIsMissingIsReadUpToTheLastWholeBlock) {
    MountBytes(RawArchive({{"p", Prose(40000)}}, false).substr(0, kFirstMember + 296 + 39000));
    File cut;
    ASSERT_EQ(cut.Open("arc:p", kReadPlain), RES_OK);
    std::string got(40000, '\0');
    EXPECT_EQ(cut.Read(got.data(), 40000), 32768u);
    EXPECT_EQ(got.substr(0, 32768), Prose(32768));
}

}  // namespace
}  // namespace Vorn::Testing
