#include <gmock/gmock.h>

#include <fstream>

#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

// Archives that nobody wrote: whatever the bytes, every operation ends with an answer.
class ArchiveHostile : public ArchiveLayer {
protected:
    // Mounts, lists, reads everything and tries to add; the bytes read in all.
    std::size_t Exercise(const std::string& bytes) {
        MountBytes(bytes, true);
        std::size_t read = 0;
        for (const char* path : {"arc:a", "arc:dir/c", "arc:missing"}) {
            read += Contents(path).value_or("").size();
            read += Contents(path, kReadPlain).value_or("").size();
            std::uint32_t time = 0;
            (void)File::GetModifiedTime(path, time);
        }
        (void)File::Exists("arc:dir");
        read += NamesOf("arc:*").size() + NamesOf("arc:dir/*").size();
        const bool added = Store("arc:new", "fresh");
        EXPECT_EQ(Contents("arc:new") == "fresh", added);
        (void)File::Delete("arc:a");
        Unmount("arc");
        Mount("arc", "a.va");
        EXPECT_EQ(Contents("arc:new") == "fresh", added);
        Unmount("arc");
        EXPECT_LT(folder.Read("a.va").size(), bytes.size() + 20000);
        return read;
    }

    std::string Small() {
        (void)Store("stream.tmp", Prose(500), kWriteCompressed);
        return RawArchive({{"a", "hello"}, {"dir/c", folder.Read("stream.tmp"), 500}});
    }
};

TEST_F(ArchiveHostile, EveryPrefixOfAnArchive) {
    const std::string good = Small();
    std::size_t rounds = 0;
    for (std::size_t size = 0; size < good.size(); size += size < 60 ? 1 : 7, ++rounds) {
        SCOPED_TRACE(size);
        EXPECT_LE(Exercise(good.substr(0, size)), 3000u);
    }
    EXPECT_GT(rounds, 200u);
}

TEST_F(ArchiveHostile, EveryByteOfTheRecordsChanged) {
    const std::string good = Small();
    const std::size_t index = Get32(good, kIndexOffsetAt);
    std::size_t rounds = 0;
    for (std::size_t at = 0; at < good.size(); ++at) {
        // Names are long and their bytes alike: a few of them stand for all.
        const std::size_t inEntry = at < index ? at - 52 : (at - index - 16) % 296;
        if (at >= 52 && inEntry >= 12 && inEntry < 258) continue;
        for (const int flip : {0x01, 0xFF}) {
            std::string bytes = good;
            bytes[at] = static_cast<char>(bytes[at] ^ flip);
            SCOPED_TRACE(testing::Message() << at << " ^ " << flip);
            EXPECT_LE(Exercise(bytes), 40000u);
            ++rounds;
        }
    }
    EXPECT_GT(rounds, 500u);
}

TEST_F(ArchiveHostile, NumbersThatLie) {
    const std::string good = Small();
    const std::size_t index = Get32(good, kIndexOffsetAt);
    const struct {
        const char* what;
        std::size_t at;
    } fields[] = {{"INFO length", 8},
                  {"member count", kCountAt},
                  {"index offset", kIndexOffsetAt},
                  {"chunk length", 48},
                  {"content size", 52 + 260},
                  {"index length", index + 4},
                  {"data offset", index + 8},
                  {"stored size", index + 12},
                  {"indexed size", index + 16 + 260},
                  {"stream's data offset", index + 8 + 296},
                  {"stream's stored size", index + 12 + 296}};
    for (const auto& field : fields) {
        for (const std::uint32_t value :
             {0u, 1u, 4u, 44u, 287u, 288u, 296u, 0x7FFFFFFFu, 0xFFFFFED8u, 0xFFFFFFF8u, 0xFFFFFFFFu,
              static_cast<std::uint32_t>(index), static_cast<std::uint32_t>(good.size())}) {
            std::string bytes = good;
            Put32(bytes, field.at, value);
            SCOPED_TRACE(testing::Message() << field.what << " = " << value);
            EXPECT_LE(Exercise(bytes), 40000u);
        }
    }
}

TEST_F(ArchiveHostile, NamesWithoutAnEndOrWithOddParts) {
    std::vector<RawMember> members = {{std::string(260, 'n'), "x"}};
    for (const char* name :
         {"", "/", "//", "../../etc/passwd", "c:\\x", "a:b", ".", "..", "a//b", "*", "?;*"}) {
        members.push_back({name, "1"});
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

// What this process has read so far; nothing where the system does not say.
std::optional<std::uint64_t> BytesRead() {
    std::ifstream counters("/proc/self/io");
    std::string label;
    std::uint64_t count = 0;
    if (!(counters >> label >> count) || label != "rchar:") return std::nullopt;
    return count;
}

TEST_F(ArchiveHostile, ManyTinyChunksCostOneWalk) {
    constexpr std::size_t kTail = std::size_t{4} << 20;
    MountBytes(RawArchive({{"a", "1"}}, false) + std::string(kTail, '\0'));
    const auto before = BytesRead();
    if (!before) GTEST_SKIP() << "nobody counts what is read";
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(File::Exists(("arc:missing" + std::to_string(i)).c_str()), RES_FILENOTFOUND);
    }
    EXPECT_LT(*BytesRead() - *before, 2 * kTail);
}

TEST_F(ArchiveHostile, DamagedStreamsEndWhereTheDamageIs) {
    (void)Store("stream.tmp", Prose(40000), kWriteCompressed);
    const std::string good = folder.Read("stream.tmp");
    const std::size_t second = 14 + Get32(good, 12) % 0x8000;
    const std::size_t third = second + 2 + Get32(good, second) % 0x8000;
    const auto with = [&good](std::size_t at, std::string_view bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    using namespace std::string_view_literals;
    const struct {
        const char* what;
        std::string stream;
        std::size_t content;
    } rows[] = {{"whole", good, 40000},
                {"cut in the third block", good.substr(0, good.size() - 1), 32768},
                {"cut in a block's header", good.substr(0, third + 1), 32768},
                {"a block of 32,767 bytes", with(second, "\xFF\x7F"sv), 16384},
                {"a stored block of 32,767 bytes", with(second, "\xFF\xFF"sv), 16384},
                {"a block of no bytes", with(second, "\0\0"sv), 16384},
                {"a short block", with(second, "\x10\x00"sv), 16384},
                {"a content size that is too large", with(8, "\xFF\xFF\xFF\xFF"sv), 32768},
                {"a content size that is too small", with(8, U32(100)), 0},
                {"a smaller content size at a block's end", with(8, U32(16384)), 16384}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        folder.Write("s", row.stream);
        EXPECT_EQ(Contents("s"), Prose(row.content));
        File file;
        ASSERT_EQ(file.Open("s", kReadCompressed), RES_OK);
        const bool reachable = row.content == 40000;
        EXPECT_EQ(file.Seek(39999, SeekFrom::Start) == 39999 && file.Read(&file, 0, 1) == 0 &&
                      file.Size() == 40000,
                  reachable);
    }
    // A plain member that its archive has not got whole.
    MountBytes(RawArchive({{"p", Prose(40000)}}, false).substr(0, kFirstMember + 296 + 39000));
    File cut;
    ASSERT_EQ(cut.Open("arc:p", kReadPlain), RES_OK);
    std::string got(40000, '\0');
    EXPECT_EQ(cut.Read(got.data(), 40000), 32768u);
    EXPECT_EQ(got.substr(0, 32768), Prose(32768));
}

}  // namespace
}  // namespace Vorn::Testing
