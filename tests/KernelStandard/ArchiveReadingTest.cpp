#include <gmock/gmock.h>

#include <thread>

#include "KernelStandard/FileSubArchive.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

using testing::ElementsAre;

using ArchiveReading = ArchiveLayer;

// The bytes of a stream that holds `content`.
std::string StreamOf(std::string_view content) {
    EXPECT_TRUE(Store("stream.tmp", content, kWriteCompressed));
    return Contents("stream.tmp", kReadPlain).value_or("");
}

TEST_F(ArchiveReading, NamesAreFoundInAnyLetterCaseAndNormalised) {
    MountBytes(
        RawArchive({{"textures/wood.tga", "w"}, {"Textures\\Bark.tga", "b"}, {"\xC4", "u"}}));
    for (const char* name : {"arc:textures/wood.tga", "arc:Textures\\Wood.TGA",
                             "arc:/textures//wood.tga", "arc:x/../textures/./wood.tga"}) {
        EXPECT_EQ(Contents(name), "w") << name;
    }
    EXPECT_EQ(Contents("arc:\xE4"), "u");
    EXPECT_EQ(Contents("arc:textures/bark.tga"), std::nullopt) << "its key keeps the backslash";
    EXPECT_EQ(Contents("arc:textures/wood.tg"), std::nullopt);
    EXPECT_EQ(Contents("arc:" + std::string(300, 'a')), std::nullopt);
    EXPECT_THAT(NamesOf("arc:textures/*.tga"), ElementsAre("wood.tga", "Bark.tga"));
}

TEST_F(ArchiveReading, OfMembersWithOneNameTheFirstIsFound) {
    MountBytes(RawArchive({{"a", "1"}, {"A", "2"}, {"a", "3"}}), true);
    EXPECT_EQ(Contents("arc:a"), "1");
    EXPECT_TRUE(File::Delete("arc:a"));
    EXPECT_EQ(Contents("arc:a"), "2");
}

TEST_F(ArchiveReading, DirectoriesExistWhenTheirLastPartHasNoDot) {
    for (const bool withIndex : {true, false}) {
        MountBytes(RawArchive({{"Maps/Old/a.txt", ""}, {"tex.d/b", ""}}, withIndex));
        for (const char* path : {"arc:maps", "arc:maps/", "arc:MAPS\\OLD", "arc:maps/old/a.txt"}) {
            EXPECT_EQ(File::Exists(path), RES_OK) << path << withIndex;
        }
        for (const char* path : {"arc:map", "arc:tex.d", "arc:", "arc:maps/o*", "arc:maps/old/a"}) {
            EXPECT_EQ(File::Exists(path), RES_FILENOTFOUND) << path << withIndex;
        }
        EXPECT_EQ(Contents("arc:maps"), std::nullopt);
        Unmount("arc");
    }
}

TEST_F(ArchiveReading, StatGivesTheWriteTime) {
    std::string bytes = RawArchive({{"a", "1"}});
    Put32(bytes, Get32(bytes, kIndexOffsetAt) + 16 + 280, 1234567);
    MountBytes(bytes);
    std::uint32_t time = 0;
    EXPECT_TRUE(File::GetModifiedTime("arc:A", time));
    EXPECT_EQ(time, 1234567u);
    EXPECT_FALSE(File::GetModifiedTime("arc:b", time));
}

TEST_F(ArchiveReading, TheReadKindChoosesContentOrStoredBytes) {
    const std::string content = Prose(20000);
    const std::string stream = StreamOf(content);
    MountBytes(RawArchive({{"c", stream, 20000}, {"p", "CFI"}}));
    EXPECT_EQ(Contents("arc:c"), content);
    EXPECT_EQ(Contents("arc:c", kReadCompressed), content);
    EXPECT_EQ(Contents("arc:c", kReadPlain), stream);
    EXPECT_EQ(Contents("arc:p"), "CFI");

    File file;
    ASSERT_EQ(file.Open("arc:c", kReadPlain), RES_OK);
    EXPECT_EQ(file.Size(), stream.size());
    file.Close();
    ASSERT_EQ(file.Open("arc:c", kReadDetect), RES_OK);
    EXPECT_EQ(file.Size(), 20000u);
}

TEST_F(ArchiveReading, Version101StreamsHaveAShortHeader) {
    const std::string content = Prose(40000);
    const std::string stream = "CFIL" + StreamOf(content).substr(12);
    std::string bytes = RawArchive({{"c", stream, 40000}, {"p", "plain"}});
    Put32(bytes, kVersionAt, 0x101);
    MountBytes(bytes);
    EXPECT_EQ(Contents("arc:c"), content);
    EXPECT_EQ(Contents("arc:p"), "plain");
}

TEST_F(ArchiveReading, WhatIsAnArchive) {
    const std::string good = RawArchive({{"a", "1"}});
    const auto with = [&good](std::size_t at, std::string_view bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    // Longer than its 32 bytes, and behind 8-byte units of something else; without the index.
    std::string longInfo = good.substr(0, 44) + "more" + good.substr(44, 297);
    Put32(longInfo, 8, 36);
    std::string lateInfo = "ARCH12345678" + good.substr(4, 40) + good.substr(44, 297);
    Put32(longInfo, kIndexOffsetAt, 0);
    Put32(lateInfo, kIndexOffsetAt + 8, 0);
    const struct {
        const char* what;
        std::string bytes;
        bool readable;
        bool hasMember = readable;
    } rows[] = {
        {"as written", good, true},
        {"marks in lower case", with(0, "archinfo"), true},
        {"version 0x103", with(kVersionAt, "\x03"), false},
        {"version 0x100", with(kVersionAt, std::string_view("\0", 1)), false},
        {"another magic", with(12, "1"), false},
        {"another mark", with(0, "ARCX"), false},
        {"no INFO", with(4, "JNFO"), false},
        {"a long INFO", longInfo, true},
        {"a late INFO", lateInfo, true, false},
        {"a short INFO", "ARCHINFO" + U32(12) + good.substr(12, 12), true, false},
        {"an INFO too short for the version", "ARCHINFO" + U32(4) + good.substr(12, 4), false},
        {"three bytes", "ARC", true, false}};
    for (const auto& row : rows) {
        folder.Write("a.va", row.bytes);
        const FileSubArchive archive("a.va", false);
        EXPECT_EQ(archive.IsAvailable(), row.readable) << row.what;
        Mount("arc", "a.va");
        EXPECT_EQ(Contents("arc:a").has_value(), row.hasMember) << row.what;
        Unmount("arc");
    }
    EXPECT_FALSE(FileSubArchive("missing.va", false).IsAvailable());
}

TEST_F(ArchiveReading, WithoutAUsableIndexTheChunksAreWalked) {
    const std::vector<RawMember> members = {
        {"a", "1"}, {"gone", "xx", 2, "FIL!"}, {"b", "22"}, {"c", "333", 3, "fil "}};
    const std::string good = RawArchive(members);
    const std::size_t index = Get32(good, kIndexOffsetAt);
    std::string wrongCount = good;
    Put32(wrongCount, kCountAt, 5);
    std::string zeroCount = good;
    Put32(zeroCount, kCountAt, 0);
    std::string wrongOffset = good;
    Put32(wrongOffset, kIndexOffsetAt, 44);
    for (const std::string& bytes :
         {RawArchive(members, false), good.substr(0, index + 3), zeroCount, wrongOffset}) {
        MountBytes(bytes);
        EXPECT_EQ(Contents("arc:c"), "333");
        EXPECT_EQ(Contents("arc:gone"), std::nullopt);
        EXPECT_EQ(Contents("arc:a"), "1");
        EXPECT_THAT(NamesOf("arc:*"), ElementsAre("a", "b", "c"));
        Unmount("arc");
    }
    for (const std::string& bytes : {wrongCount, good.substr(0, good.size() - 296)}) {
        MountBytes(bytes);  // the records that are there count, the rest is walked
        EXPECT_EQ(Contents("arc:c"), "333");
        EXPECT_EQ(Contents("arc:a"), "1");
        Unmount("arc");
    }
}

TEST_F(ArchiveReading, MembersBehindTheIndexAreFound) {
    MountBytes(RawArchive({{"a", "1"}}) + RawChunk({"x/late", "2"}));
    EXPECT_EQ(Contents("arc:x/late"), "2");
    EXPECT_EQ(Contents("arc:missing"), std::nullopt);
    Unmount("arc");
    Mount("arc", "a.va");
    EXPECT_THAT(NamesOf("arc:*"), ElementsAre("a", "x"));
    EXPECT_THAT(NamesOf("arc:x/*"), ElementsAre("late"));
}

TEST_F(ArchiveReading, SeveralThreadsReadOneArchive) {
    MountWritable();
    for (int i = 0; i < 4; ++i) {
        const FileMode kind = i % 2 == 0 ? kWritePlain : kWriteCompressed;
        ASSERT_TRUE(
            Store("arc:m" + std::to_string(i), Prose(50000 + static_cast<unsigned>(i)), kind));
    }
    std::vector<int> good(4);
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i) {
        threads.emplace_back([i, &good] {
            for (unsigned round = 0; round < 20; ++round) {
                const unsigned member = (i + round) % 4;
                const std::string path = "arc:m" + std::to_string(member);
                good[i] += Contents(path) == Prose(50000 + member) ? 1 : 0;
                if (i == 0) good[i] -= Store("arc:new" + std::to_string(round), "n") ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(good, ElementsAre(20, 20, 20, 20));
    EXPECT_EQ(File::OpenFileCount(), 0);
}

}  // namespace
}  // namespace Vorn::Testing
