#include <sys/mount.h>

#include "KernelStandard/FileSubArchive.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

using ArchiveWriting = ArchiveLayer;

TEST_F(ArchiveWriting, OnePlainMemberMakes646Bytes) {
    MountWritable();
    ASSERT_TRUE(Store("arc:a.txt", "hi"));
    std::string expected = RawArchive({{"a.txt", "hi"}});
    for (const std::size_t entry : {52, 342 + 16}) Put32(expected, entry + 268, 0x9A89B422);

    EXPECT_EQ(folder.Read("a.va").size(), 342u) << "the index waits for the end of the mount";
    EXPECT_EQ(CloseAndRead(), expected);
    EXPECT_EQ(expected.size(), 646u);
    EXPECT_EQ(expected, ExampleOf("archive.md"));
}

TEST_F(ArchiveWriting, AnEmptyArchiveGetsItsIndexAtTheEnd) {
    MountWritable();
    EXPECT_EQ(folder.Read("a.va"), RawArchive({}, false));
    EXPECT_EQ(CloseAndRead(), RawArchive({}));
    EXPECT_EQ(RawArchive({}).size(), 52u);

    MountWritable();  // counts as one without an index: the member goes after it, and none is
                      // written
    ASSERT_TRUE(Store("arc:late.txt", "x"));
    EXPECT_EQ(Reopen().size(), 52u + 296 + 1);
    EXPECT_EQ(Contents("arc:late.txt"), "x");
}

TEST_F(ArchiveWriting, ReplacingAndDeletingMarkTheOldMember) {
    const std::string before = RawArchive({{"a*", "1"}, {"ab", "2"}, {"two", "22"}});
    MountBytes(before, true);
    EXPECT_TRUE(File::Delete("arc:/A*"));
    EXPECT_FALSE(File::Delete("arc:a*")) << "wildcards in a name delete nothing else";
    std::string file = Reopen();
    EXPECT_EQ(file.size(), before.size()) << "old bytes stay after the shorter index";
    EXPECT_EQ(file.substr(kCountAt, 8), U32(2) + U32(Get32(before, kIndexOffsetAt)));
    EXPECT_THAT(NamesOf("arc:*"), ElementsAre("ab", "two"));
    EXPECT_FALSE(File::Delete("arc:ab")) << "mounted read-only";

    Unmount("arc");
    MountWritable();
    ASSERT_TRUE(Store("arc:AB", "new"));
    EXPECT_EQ(Contents("arc:ab"), "new");
    file = Reopen();
    EXPECT_EQ(file.substr(44, 4) + file.substr(44 + 297, 4), "FIL!FIL!");
    EXPECT_EQ(file.substr(kCountAt, 8), U32(2) + U32(Get32(before, kIndexOffsetAt) + 296 + 3));
    EXPECT_THAT(NamesOf("arc:*"), ElementsAre("two", "AB"));
}

TEST_F(ArchiveWriting, ACompressedMemberIsAStreamOfBlocks) {
    const std::string content = Prose(30000) + Noise(10000);
    MountWritable();
    ASSERT_TRUE(Store("arc:big", content, kWriteCompressed));
    ASSERT_TRUE(Store("arc:none", "", kWriteCompressed));
    ASSERT_TRUE(Store("arc:short", "CFI"));
    ExpectContents({{"arc:big", content}, {"arc:none", ""}, {"arc:short", "CFI"}});
    EXPECT_EQ(Contents("arc:big", kReadCompressed), content);
    const std::string raw = Contents("arc:big", kReadPlain).value_or("");
    ASSERT_EQ(raw.substr(0, 12), "CFIL" + U32(0x101) + U32(40000));
    File stored;
    ASSERT_EQ(stored.Open("arc:big", kReadPlain), RES_OK);
    EXPECT_EQ(stored.Size(), raw.size());
    stored.Close();
    std::size_t at = 12;
    for (int block = 0; block < 3; ++block) at += 2 + (Get32(raw + "12", at) & 0x7FFF);
    EXPECT_EQ(at, raw.size());

    const std::string file = CloseAndRead();
    EXPECT_EQ(file.substr(52 + 260, 8), U32(40000) + U32(raw.size()));
    EXPECT_EQ(Get32(file, 52 + 284), 0x80u);
    EXPECT_EQ(Get32(file, 340 + raw.size() + 4), 300u) << "an empty stream is its header";
}

std::vector<std::pair<std::uint32_t, std::uint32_t>> progress;

TEST_F(ArchiveWriting, ProgressIsToldPieceByPiece) {
    FileSubArchive::SetProgressHook([](std::uint32_t content, std::uint32_t stored) {
        progress.emplace_back(content, stored);
    });
    MountWritable();
    const bool stored =
        Store("arc:p", Noise(32770)) && Store("arc:c", Noise(16385), kWriteCompressed);
    FileSubArchive::SetProgressHook(nullptr);
    EXPECT_TRUE(stored);
    EXPECT_THAT(progress,
                ElementsAre(std::pair(16384, 0), std::pair(32768, 0), std::pair(32770, 0),
                            std::pair(16384, 12 + 16386), std::pair(16385, 12 + 16386 + 3)));
}

TEST_F(ArchiveWriting, DefaultsReachTheHeadersOfArchivesConstructedLater) {
    for (const std::uint32_t value : {77u, 0u}) {
        FileSubArchive::SetDefaultBuildVersion(value + value);
        FileSubArchive::SetDefaultProductCode(value);
        Mount("arc", value != 0 ? "a.va" : "zero.va", true);
    }
    EXPECT_EQ(File::GetArchiveBuildVersion(Intern("arc")), 154u);
    EXPECT_EQ(File::GetArchiveProductCode(Intern("arc")), 77u);
    EXPECT_EQ(File::GetArchiveProductCode(Intern("none")), 0u);
    EXPECT_EQ(CloseAndRead().substr(28, 8), U32(154) + U32(77));
}

TEST_F(ArchiveWriting, AMemberIsOnlyEverWrittenAnew) {
    MountBytes(RawArchive({{"old", "content of it"}}), true);
    File file;
    for (const auto& [path, mode, result] : Table<const char*, FileMode, FileResult>{
             {"arc:old", kAppend | kWritePlain, RES_FILENOTFOUND},
             {"arc:old", kWritePlain, RES_FILENOTFOUND},
             {"arc:OLD", kCreateNew | kWritePlain, RES_FILEALREADYEXISTS},
             {"arc:x", 0, RES_FILENOTFOUND},
             {"arc:/new", kCreateNew | kWritePlain, RES_OK},
             {"arc:old", kWritePlain | kReadDetect, RES_READONLY}}) {
        EXPECT_TRUE(file.Close());
        EXPECT_EQ(file.Open(path, mode), result) << path << mode;
    }
    EXPECT_THROW(file.Write("x", 1), FileEx);
    EXPECT_TRUE(file.Close());
    // Stored without the leading separator.
    ExpectContents({{"arc:old", "content of it"}, {"arc:new", ""}});
    EXPECT_THAT(NamesOf("*.T????????"), IsEmpty());
}

TEST_F(ArchiveWriting, SomeFilesRefuseNewMembers) {
    std::string old = RawArchive({{"a", "1"}});
    Put32(old, kVersionAt, 0x101);
    const std::string cut = RawArchive({{"a", "1234"}}, false).substr(0, 343);
    std::string longHeader = RawArchive({{"a", "1"}}, false);
    Put32(longHeader.insert(44, "more"), 8, 36);
    for (const std::string& bytes : {old, cut, longHeader, "ARC"s, "not an archive"s}) {
        MountBytes(bytes, true);
        EXPECT_FALSE(Store("arc:new", "x")) << bytes.size();
        EXPECT_EQ(CloseAndRead(), bytes);
    }
    EXPECT_THROW(Mount("arc", "missing-folder/a.va", true), FileEx);
    // An empty one stays empty until its first member makes it an archive.
    MountBytes("", true);
    EXPECT_EQ(Contents("arc:a"), std::nullopt);
    EXPECT_EQ(CloseAndRead(), "");
    MountWritable();
    ASSERT_TRUE(Store("arc:a", "1"));
    EXPECT_EQ(CloseAndRead().size(), RawArchive({{"a", "1"}}).size());
}

TEST_F(ArchiveWriting, AnArchiveThatCannotBeChangedMakesNoOtherOpenerWait) {
    folder.Write("a.va", "ARC");
    FileSubArchive one("a.va", true);
    FileSubArchive two("a.va", true);
    EXPECT_TRUE(one.BeginChanges());
    EXPECT_TRUE(two.BeginChanges());
    EXPECT_FALSE(two.AddMember("m", {}, false));
}

TEST_F(ArchiveWriting, AnIndexThatPointsElsewhereLosesItsRecordOnly) {
    std::string bytes = RawArchive({{"a", "1"}, {"b", "2"}});
    Put32(bytes, Get32(bytes, kIndexOffsetAt) + 8, 400);  // "a" at a place without a chunk
    MountBytes(bytes, true);
    EXPECT_FALSE(File::Delete("arc:a"));
    ASSERT_TRUE(Store("arc:a", "new"));
    ExpectContents({{"arc:a", "new"}, {"arc:b", "2"}});
    EXPECT_EQ(CloseAndRead().substr(44, 356), bytes.substr(44, 356));
}

// Three writers, each killed in the last piece of "B", after a complete member and while another
// one is open.
TEST_F(ArchiveWriting, AKilledWriterLeavesWhatWasComplete) {
    std::vector<RawMember> members(40, {"old", Noise(50)});
    for (std::size_t i = 0; i < 40; ++i) members[i].name += std::to_string(i);
    members.push_back({"b", Noise(5000)});
    for (const auto& [size, kind] : Table<std::size_t, FileMode>{
             {20000, kWritePlain}, {300000, kWritePlain}, {300000, kWriteCompressed}}) {
        folder.Write("a.va", RawArchive(members));
        EXPECT_EQ(InChild([&, content = Noise(size)] {
                      FileSubArchive::SetProgressHook([](std::uint32_t done, std::uint32_t) {
                          if (done > 16384 && done % 16384 != 0) _exit(9);
                      });
                      Subst(Intern("arc"), "a.va", true);
                      File open;
                      return Store("arc:added", "complete") &&
                             open.Open("arc:open", kCreateOrTruncate | kWritePlain) == RES_OK &&
                             Store("arc:B", content, kind);
                  }),
                  9);
        const std::string left = folder.Read("a.va");
        EXPECT_EQ(left.substr(Get32(left, kIndexOffsetAt), 4), "FIL ");

        MountWritable();
        EXPECT_EQ(Contents("arc:b"), Noise(5000));
        EXPECT_TRUE(Store("arc:b", "behind the rest of a member"));
        for (int round = 0; round < 2; ++round, Reopen()) {
            ExpectContents({{"arc:old39", Noise(50)},
                            {"arc:added", "complete"},
                            {"arc:open", std::nullopt},
                            {"arc:b", "behind the rest of a member"}});
        }
        EXPECT_EQ(NamesOf("arc:*").size(), 42u);
        Unmount("arc");
    }
}

TEST_F(ArchiveWriting, AnUnfinishedMemberHidesNothing) {
    const std::string whole = RawArchive({{"a", "1"}}, false);
    MountBytes(whole + "FIL " + U32(0) + RawEntry({"half", "data"}) + "da", true);
    EXPECT_EQ(Contents("arc:half"), std::nullopt);
    ASSERT_TRUE(Store("arc:new", "2"));
    EXPECT_EQ(Reopen().substr(whole.size(), 8), "FIL!" + U32(290));
    ExpectContents({{"arc:a", "1"}, {"arc:new", "2"}});
}

TEST_F(ArchiveWriting, MembersAfterTheIndexStay) {
    const std::string whole = RawArchive({{"a", "1"}, {"b", "2"}});
    MountBytes(whole + RawChunk({"behind", "3"}), true);
    ASSERT_TRUE(Store("arc:a", "new"));
    Reopen();
    ExpectContents({{"arc:a", "new"}, {"arc:b", "2"}, {"arc:behind", "3"}});
}

TEST_F(ArchiveWriting, NothingOfAnEarlierMemberGetsIntoALaterOne) {
    MountWritable();
    ASSERT_TRUE(Store("arc:a", Noise(60000)));
    File file;
    ASSERT_EQ(file.Open("arc:b", kCreateOrTruncate | kWritePlain), RES_OK);
    EXPECT_EQ(file.Write("x", 1) + file.Seek(30000, SeekFrom::Start) + file.Write("y", 1), 30002u);
    ASSERT_TRUE(file.Close());
    ASSERT_EQ(file.Open("arc:c", kAppend | kWritePlain), RES_OK);
    EXPECT_EQ(file.Size() + file.Write("z", 1), 1u);
    ASSERT_TRUE(file.Close());
    ExpectContents({{"arc:b", "x" + std::string(29999, '\0') + "y"}, {"arc:c", "z"}});
}

TEST_F(ArchiveWriting, AFullDiskKeepsTheOldMemberAndSaysSo) {
    folder.Write("disk/x", "");
    const std::string disk = folder.Path("disk");
    if (mount("none", disk.c_str(), "tmpfs", 0, "size=128k") != 0) GTEST_SKIP() << "needs mount";
    Mount("full", "disk/a.va", true);
    EXPECT_TRUE(Store("full:m", "old") && Store("full:n", "other"));
    EXPECT_FALSE(Store("full:m", Noise(200000)));
    EXPECT_EQ(Contents("full:m"), "old");
    Unmount("full");
    EXPECT_EQ(Get32(folder.Read("disk/a.va"), kCountAt), 2u) << "the index found room again";
    Mount("full", "disk/a.va");
    ExpectContents({{"full:m", "old"}, {"full:n", "other"}});
    File direct;
    EXPECT_EQ(direct.Open("disk/f", kCreateOrTruncate | kWritePlain), RES_OK);
    const std::string noise = Noise(1024);
    std::uint32_t written = 0;
    while (direct.IsOpen() && written < 200000 && direct.Write(noise.data(), 1024) == 1024)
        written += 1024;
    EXPECT_LT(written, 128u * 1024) << "the count shows that the disk is full";
    EXPECT_FALSE(direct.Close());
    Unmount("full");
    EXPECT_EQ(umount(disk.c_str()), 0);
}

TEST_F(ArchiveWriting, AProcessThatExitsCompletesItsArchives) {
    const auto work = []() -> int {
        Subst(Intern("arc"), "a.va", true);
        std::exit(Store("arc:a", "1") ? 0 : 1);
    };
    EXPECT_EQ(InChild(work), 0);
    const std::string file = folder.Read("a.va");
    ASSERT_GT(file.size(), kFirstMember);
    EXPECT_EQ(Get32(file, kCountAt), 1u);
    EXPECT_EQ(file.substr(Get32(file, kIndexOffsetAt), 4), "IDX ");
}

}  // namespace
}  // namespace Vorn::Testing
