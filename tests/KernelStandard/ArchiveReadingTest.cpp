#include "KernelStandard/FileSubArchive.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

using ArchiveReading = ArchiveLayer;

TEST_F(ArchiveReading, NamesAreFoundInAnyLetterCaseAndNormalised) {
    std::string bytes = RawArchive(
        {{"textures/wood.tga", "w"}, {"Textures\\Bark.tga", "b"}, {"\xC4", "1"}, {"\xE4", "2"}});
    Put32(bytes, Get32(bytes, kIndexOffsetAt) + 16 + 280, 1234567);
    MountBytes(bytes, true);
    ExpectContents({{"arc:textures/wood.tga", "w"},
                    {"arc:Textures\\Wood.TGA", "w"},
                    {"arc:/textures//wood.tga", "w"},
                    {"arc:x/../textures/./wood.tga", "w"},
                    {"arc:textures/bark.tga", std::nullopt},  // its key keeps the backslash
                    {"arc:textures/wood.tg", std::nullopt},
                    {"arc:" + std::string(300, 'a'), std::nullopt}});
    EXPECT_THAT(NamesOf("arc:textures/*.tga"), ElementsAre("wood.tga", "Bark.tga"));
    EXPECT_EQ(TimeOf("arc:Textures/wood.tga"), 1234567u);
    EXPECT_EQ(TimeOf("arc:b"), std::nullopt);
    EXPECT_EQ(Contents("arc:\xE4"), "1") << "of members with one name the first is found";
    EXPECT_TRUE(File::Delete("arc:\xE4"));
    EXPECT_EQ(Contents("arc:\xC4"), "2");
}

TEST_F(ArchiveReading, WhatIsAnArchive) {
    const std::string good = RawArchive({{"a", "1"}});
    const std::string chunk = good.substr(44, 297);
    const auto with = [&good](std::size_t at, std::string_view bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    const std::string unindexed = with(kIndexOffsetAt, U32(0)).substr(0, 44);
    const Table<const char*, std::string, bool, bool> rows = {
        {"as written", good, true, true},
        {"marks in lower case", with(0, "archinfo"), true, true},
        {"version 0x103", with(kVersionAt, "\x03"), false, false},
        {"version 0x100", with(kVersionAt, "\0"sv), false, false},
        {"another magic", with(12, "1"), false, false},
        {"another mark", with(0, "ARCX"), false, false},
        {"no INFO", with(4, "JNFO"), false, false},
        {"a long INFO", std::string(unindexed).replace(8, 1, "\x24") + "more" + chunk, true, true},
        {"a late INFO", "ARCH12345678" + unindexed.substr(4) + chunk, true, false},
        {"a short INFO", "ARCHINFO" + U32(12) + good.substr(12, 12), true, false},
        {"an INFO without version", "ARCHINFO" + U32(4) + good.substr(12, 4), false, false},
        {"three bytes", "ARC", true, false}};
    for (const auto& [what, bytes, readable, hasMember] : rows) {
        MountBytes(bytes);
        EXPECT_EQ(FileSubArchive("a.va", false).IsAvailable(), readable) << what;
        EXPECT_EQ(Contents("arc:a").has_value(), hasMember) << what;
        Unmount("arc");
    }
    EXPECT_FALSE(FileSubArchive("missing.va", false).IsAvailable());
}

TEST_F(ArchiveReading, WithoutAUsableIndexTheChunksAreWalked) {
    const std::vector<RawMember> members = {
        {"a", "1"}, {"gone", "xx", 2, "FIL!"}, {"b", "22"}, {"c", "333", 3, "fil "}};
    const std::string good = RawArchive(members);
    const auto with = [&good](std::size_t at, std::size_t value) {
        return std::string(good).replace(at, 4, U32(value));
    };
    const std::size_t index = Get32(good, kIndexOffsetAt);
    // If some records are usable, only the rest of the file is walked.
    for (const auto& [bytes, allWalked] :
         Table<std::string, bool>{{RawArchive(members, false), true},
                                  {good.substr(0, index + 3), true},
                                  {with(kCountAt, 0), true},
                                  {with(kIndexOffsetAt, 44), true},
                                  {with(kCountAt, 5), false},
                                  {good.substr(0, good.size() - 296), false}}) {
        SCOPED_TRACE(bytes.size());
        MountBytes(bytes);
        ExpectContents({{"arc:c", "333"}, {"arc:a", "1"}});
        if (allWalked) {
            EXPECT_EQ(Contents("arc:gone"), std::nullopt);
            EXPECT_THAT(NamesOf("arc:*"), ElementsAre("a", "b", "c"));
        }
        Unmount("arc");
    }
    // Members after the index.
    MountBytes(RawArchive({{"a", "1"}}) + RawChunk({"x/late", "2"}));
    ExpectContents({{"arc:x/late", "2"}, {"arc:missing", std::nullopt}});
    Unmount("arc");
    Mount("arc", "a.va");
    EXPECT_THAT(NamesOf("arc:*"), ElementsAre("a", "x"));
    EXPECT_THAT(NamesOf("arc:x/*"), ElementsAre("late"));
}

TEST_F(ArchiveReading, SeveralThreadsReadOneArchive) {
    MountWritable();
    const auto path = [](std::size_t member) { return "arc:m" + std::to_string(member); };
    for (std::size_t i = 0; i < 4; ++i) {
        ASSERT_TRUE(Store(path(i), Prose(50000 + i), i % 2 == 0 ? kWritePlain : kWriteCompressed));
    }
    std::atomic<int> bad = 0;
    InThreads(4, [&](std::size_t thread) {
        for (std::size_t round = thread; round < thread + 20; ++round) {
            bad += Contents(path(round % 4)) == Prose(50000 + round % 4) ? 0 : 1;
            if (thread == 0) bad += Store(path(round + 4), "n") ? 0 : 1;
        }
    });
    EXPECT_EQ(bad, 0);
    EXPECT_EQ(File::OpenFileCount(), 0);
}

}  // namespace
}  // namespace Vorn::Testing
