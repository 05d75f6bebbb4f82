#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

using testing::ElementsAre;

using ArchiveWriting = ArchiveLayer;

// The bytes of the example that the format's page shows.
std::string ExampleOfTheFormatPage() {
    std::istringstream page(ReadFile(VORN_SOURCE_DIR "/docs/formats/archive.md"));
    std::string bytes;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("```")) {
            inside = line == "```hex";
        } else if (inside) {
            std::istringstream hex(line);
            for (unsigned byte = 0; hex >> std::hex >> byte;) bytes += static_cast<char>(byte);
        }
    }
    return bytes;
}

std::string NameOfRecord(const std::string& file, std::size_t record) {
    const std::size_t at = Get32(file, kIndexOffsetAt) + 8 + record * 296 + 8;
    return file.substr(at, file.find('\0', at) - at);
}

TEST_F(ArchiveWriting, OnePlainMemberMakes646Bytes) {
    MountWritable();
    ASSERT_TRUE(Store("arc:a.txt", "hi"));
    std::string expected = RawArchive({{"a.txt", "hi"}});
    Put32(expected, 52 + 268, 0x9A89B422);
    Put32(expected, 342 + 16 + 268, 0x9A89B422);

    EXPECT_EQ(folder.Read("a.va").size(), 342u) << "the index waits for the end of the mount";
    const std::string file = CloseAndRead();
    EXPECT_EQ(file.size(), 646u);
    EXPECT_EQ(file, expected);
    EXPECT_EQ(file, ExampleOfTheFormatPage());
    EXPECT_THAT(NamesOf("*.T????????"), ElementsAre());
}

TEST_F(ArchiveWriting, AnEmptyArchiveGetsItsIndexAtTheEnd) {
    MountWritable();
    EXPECT_EQ(folder.Read("a.va"), RawArchive({}, false));
    EXPECT_EQ(CloseAndRead(), RawArchive({}));

    MountWritable();  // without an index: the member goes behind what is there, and none is written
    ASSERT_TRUE(Store("arc:late.txt", "x"));
    EXPECT_EQ(CloseAndRead().size(), 52u + 296 + 1);
    Mount("arc", "a.va");
    EXPECT_EQ(Contents("arc:late.txt"), "x");
}

TEST_F(ArchiveWriting, ReplacingMarksTheOldMemberAndMovesTheNameToTheEnd) {
    MountBytes(RawArchive({{"one", "1111"}, {"two", "22"}}), true);
    ASSERT_TRUE(Store("arc:ONE", "new"));
    EXPECT_EQ(Contents("arc:one"), "new");
    const std::string file = CloseAndRead();

    EXPECT_EQ(file.substr(44, 4), "FIL!");
    EXPECT_EQ(Get32(file, kCountAt), 2u);
    EXPECT_EQ(NameOfRecord(file, 0), "two");
    EXPECT_EQ(NameOfRecord(file, 1), "ONE");
    EXPECT_EQ(Get32(file, kIndexOffsetAt), 44u + 3 * 296 + 4 + 2 + 3);
}

TEST_F(ArchiveWriting, DeletingShortensTheIndexAtItsPlace) {
    const std::string before = RawArchive({{"a*", "1"}, {"ab", "2"}});
    MountBytes(before, true);
    EXPECT_TRUE(File::Delete("arc:/A*"));
    EXPECT_FALSE(File::Delete("arc:a*"));
    const std::string file = CloseAndRead();
    EXPECT_EQ(file.size(), before.size()) << "old bytes stay behind the shorter index";
    EXPECT_EQ(Get32(file, kIndexOffsetAt), Get32(before, kIndexOffsetAt));
    EXPECT_EQ(Get32(file, kCountAt), 1u);
    EXPECT_EQ(NameOfRecord(file, 0), "ab") << "wildcards in a name delete nothing else";

    Mount("arc", "a.va");
    EXPECT_FALSE(File::Delete("arc:ab")) << "mounted read-only";
}

TEST_F(ArchiveWriting, ACompressedMemberIsAStreamOfBlocks) {
    const std::string content = Prose(30000) + Noise(10000);
    MountWritable();
    ASSERT_TRUE(Store("arc:big", content, kWriteCompressed));
    ASSERT_TRUE(Store("arc:none", "", kWriteCompressed));
    EXPECT_EQ(Contents("arc:big"), content);
    const std::string raw = Contents("arc:big", kReadPlain).value_or("");
    ASSERT_EQ(raw.substr(0, 12), "CFIL" + U32(0x101) + U32(40000));
    std::size_t at = 12;
    int blocks = 0;
    for (; at + 2 <= raw.size(); ++blocks) at += 2 + (Get32(raw + "12", at) & 0x7FFF);
    EXPECT_EQ(blocks, 3);
    EXPECT_EQ(at, raw.size());

    const std::string file = CloseAndRead();
    EXPECT_EQ(Get32(file, 52 + 260), 40000u);
    EXPECT_EQ(Get32(file, 52 + 264), raw.size());
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
    FileSubArchive::SetDefaultBuildVersion(0x01020304);
    FileSubArchive::SetDefaultProductCode(77);
    MountWritable();
    Mount("arc", "plain/", true);
    FileSubArchive::SetDefaultBuildVersion(0);
    FileSubArchive::SetDefaultProductCode(0);
    Mount("arc", "zero.va", true);
    EXPECT_EQ(File::GetArchiveBuildVersion(Intern("arc")), 0x01020304u);
    EXPECT_EQ(File::GetArchiveProductCode(Intern("arc")), 77u);
    EXPECT_EQ(File::GetArchiveProductCode(Intern("none")), 0u);
    const std::string file = CloseAndRead();
    EXPECT_EQ(Get32(file, 28), 0x01020304u);
    EXPECT_EQ(Get32(file, 32), 77u);
}

TEST_F(ArchiveWriting, AMemberIsOnlyEverWrittenAnew) {
    MountBytes(RawArchive({{"old", "content of it"}}), true);
    File file;
    EXPECT_EQ(file.Open("arc:old", kAppend | kWritePlain), RES_FILENOTFOUND);
    EXPECT_EQ(file.Open("arc:old", kWritePlain), RES_FILENOTFOUND);
    EXPECT_EQ(file.Open("arc:OLD", kCreateNew | kWritePlain), RES_FILEALREADYEXISTS);
    EXPECT_EQ(file.Open("arc:x", 0), RES_FILENOTFOUND);
    EXPECT_EQ(file.Open("arc:old", kWritePlain | kReadDetect), RES_READONLY);
    EXPECT_THROW(file.Write("x", 1), FileEx);
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(file.Open("arc:/new", kCreateNew | kWritePlain), RES_OK);
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(Contents("arc:old"), "content of it");
    EXPECT_EQ(Contents("arc:new"), "") << "stored without the leading separator";
    EXPECT_THAT(NamesOf("*.T????????"), ElementsAre());
}

TEST_F(ArchiveWriting, SomeFilesRefuseNewMembers) {
    std::string old = RawArchive({{"a", "1"}});
    Put32(old, kVersionAt, 0x101);
    std::string cut = RawArchive({{"a", "1234"}}, false);
    cut.pop_back();
    std::string longHeader = RawArchive({{"a", "1"}}, false);
    Put32(longHeader.insert(44, "more"), 8, 36);
    for (const std::string& bytes :
         {old, cut, longHeader, std::string("ARC"), std::string("not an archive")}) {
        MountBytes(bytes, true);
        EXPECT_FALSE(Store("arc:new", "x")) << bytes.size();
        EXPECT_EQ(CloseAndRead(), bytes);
    }
    EXPECT_THROW(Mount("arc", "missing-folder/a.va", true), FileEx);
}

TEST_F(ArchiveWriting, AnIndexThatPointsElsewhereLosesItsRecordOnly) {
    std::string bytes = RawArchive({{"a", "1"}, {"b", "2"}});
    Put32(bytes, Get32(bytes, kIndexOffsetAt) + 8, 400);  // "a" at a place without a chunk
    MountBytes(bytes, true);
    EXPECT_FALSE(File::Delete("arc:a"));
    ASSERT_TRUE(Store("arc:a", "new"));
    EXPECT_EQ(Contents("arc:a"), "new");
    EXPECT_EQ(Contents("arc:b"), "2");
    EXPECT_EQ(CloseAndRead().substr(0, 400).substr(44), bytes.substr(44, 400 - 44));
}

// Runs `work` in a process of its own that ends without any clean-up.
template <typename Work>
void InKilledProcess(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
}

TEST_F(ArchiveWriting, AKilledWriterLeavesWhatWasComplete) {
    std::vector<RawMember> members;
    members.reserve(40);
    for (int i = 0; i < 40; ++i) members.push_back({"old" + std::to_string(i), Noise(50)});
    folder.Write("a.va", RawArchive(members));
    InKilledProcess([] {
        Subst(Intern("arc"), "a.va", true);
        if (!Store("arc:added", "complete")) _exit(1);
        File open;
        _exit(open.Open("arc:open", kCreateOrTruncate | kWritePlain) == RES_OK ? 0 : 1);
    });
    ASSERT_EQ(folder.Read("a.va").substr(Get32(folder.Read("a.va"), kIndexOffsetAt), 4), "FIL ");

    MountWritable();
    EXPECT_EQ(Contents("arc:old39"), Noise(50));
    EXPECT_EQ(Contents("arc:added"), "complete");
    EXPECT_EQ(Contents("arc:open"), std::nullopt);
    EXPECT_TRUE(Store("arc:later", "found again, though the rest of an index stood before it"));
    Unmount("arc");
    Mount("arc", "a.va");
    EXPECT_EQ(NamesOf("arc:old*").size(), 40u);
    EXPECT_EQ(Contents("arc:later").value_or("").size(), 56u);
}

TEST_F(ArchiveWriting, AnUnfinishedMemberHidesNothing) {
    const std::string whole = RawArchive({{"a", "1"}}, false);
    MountBytes(whole + "FIL " + U32(0) + RawEntry({"half", "data"}) + "da", true);
    EXPECT_EQ(Contents("arc:half"), std::nullopt);
    ASSERT_TRUE(Store("arc:new", "2"));
    const std::string file = CloseAndRead();
    EXPECT_EQ(file.substr(whole.size(), 8), "FIL!" + U32(290));
    Mount("arc", "a.va");
    EXPECT_EQ(Contents("arc:a"), "1");
    EXPECT_EQ(Contents("arc:new"), "2");
}

TEST_F(ArchiveWriting, AFullDiskKeepsTheOldMemberAndSaysSo) {
    folder.Write("disk/x", "");
    const std::string disk = folder.Path("disk");
    if (mount("none", disk.c_str(), "tmpfs", 0, "size=128k") != 0) GTEST_SKIP() << "needs mount";
    Mount("full", "disk/a.va", true);
    EXPECT_TRUE(Store("full:m", "old"));
    EXPECT_TRUE(Store("full:n", "other"));
    const bool storedTooMuch = Store("full:m", Noise(200000));
    const std::string kept = Contents("full:m").value_or("");
    Unmount("full");
    const std::string file = folder.Read("disk/a.va");
    Mount("full", "disk/a.va");
    const std::string after = Contents("full:m").value_or("") + Contents("full:n").value_or("");
    File direct;
    const bool opened = direct.Open("disk/f", kCreateOrTruncate | kWritePlain) == RES_OK;
    const std::string noise = Noise(1024);
    std::uint32_t written = 0;
    while (opened && written < 200000 && direct.Write(noise.data(), 1024) == 1024) written += 1024;
    const bool closed = direct.Close();
    Unmount("full");
    EXPECT_EQ(umount(disk.c_str()), 0);

    EXPECT_FALSE(storedTooMuch);
    EXPECT_EQ(kept, "old");
    EXPECT_EQ(after, "oldother");
    EXPECT_EQ(Get32(file, kCountAt), 2u) << "the index found room again";
    EXPECT_LT(written, 128u * 1024) << "the count shows that the disk is full";
    EXPECT_FALSE(closed);
}

TEST_F(ArchiveWriting, AProcessThatExitsCompletesItsArchives) {
    EXPECT_EXIT(
        {
            Subst(Intern("arc"), "a.va", true);
            std::exit(Store("arc:a", "1") ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    const std::string file = folder.Read("a.va");
    ASSERT_GT(file.size(), kFirstMember);
    EXPECT_EQ(Get32(file, kCountAt), 1u);
    EXPECT_EQ(file.substr(Get32(file, kIndexOffsetAt), 4), "IDX ");
}

}  // namespace
}  // namespace Vorn::Testing
