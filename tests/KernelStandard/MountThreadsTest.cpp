// Mounts shared with other threads, with other mounts of the same archive, and with files that
// outlive them.
#include "KernelStandard/FileSubArchive.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

class MountThreads : public ArchiveLayer {
protected:
    void MountTwice() {
        MountBytes(RawArchive({{"m", "old"}, {"n", "kept"}}), true);
        Mount("two", "a.va", true);
    }
};

// A reader that is never closed must not keep others from the archive.
TEST_F(MountThreads, AMemberThatIsFinishedAfterItsMountLeavesTheArchiveToOthers) {
    MountBytes(RawArchive({{"m", "old"}}), true);
    File reader;
    File late;
    ASSERT_EQ(reader.Open("arc:m", kReadDetect), RES_OK);
    ASSERT_EQ(late.Open("arc:late", kCreateOrTruncate | kWritePlain), RES_OK);
    Unmount("arc");
    EXPECT_EQ(late.Write("1", 1), 1u);
    ASSERT_TRUE(late.Close());

    const std::string bytes = folder.Read("a.va");
    EXPECT_EQ(Get32(bytes, kCountAt), 2u) << "the index is written again";
    platform::FileHandle other;
    ASSERT_TRUE(other.Open("a.va", platform::Access::ReadWrite, platform::Creation::OpenExisting,
                           platform::Share::DenyNone));
    EXPECT_TRUE(other.LockChanges(0));
}

// The deletion waits for a change that ends only when its mount is closed, which needs the list.
TEST_F(MountThreads, ADeletionThatWaitsKeepsNoOtherThreadFromTheMounts) {
    MountBytes(RawArchive({{"sub/m", "1"}, {"sub/n", "2"}}), true);
    Mount("chain", "arc:sub/", true);
    for (const char* victim : {"arc:sub/m", "chain:n"}) {
        Mount("two", "a.va", true);
        ASSERT_TRUE(Store("two:x", "holds the change lock"));
        std::atomic<bool> deleted = false;
        std::thread deleting([&] { deleted = File::Delete(victim); });
        // The deletion mostly waits by then; if it does not, the case proves less but still passes.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        Unmount("two");
        deleting.join();
        EXPECT_TRUE(deleted) << victim;
        Subst(Intern("arc"), nullptr);
        Mount("arc", "a.va", true);
    }
    EXPECT_THAT(NamesOf("arc:*"), ElementsAre("x"));
}

TEST_F(MountThreads, AFileOpensForWritingWhileTheArchiveIsReadAnew) {
    MountTwice();
    const auto backend = std::static_pointer_cast<FileSubArchive>(
        FileSubstList::Instance().TopBackend(Intern("arc")));
    const auto other = std::static_pointer_cast<FileSubArchive>(
        FileSubstList::Instance().TopBackend(Intern("two")));
    std::atomic<bool> done = false;
    std::atomic<int> opened = 0;
    InThreads(2, [&](std::size_t t) {
        if (t == 0) {
            for (int round = 0; round < 200 || opened < 200; ++round) {
                FileSubArchive& changed = round % 2 == 0 ? *backend : *other;
                EXPECT_TRUE(changed.BeginChanges() && changed.AddMember("m", {}, false));
                EXPECT_TRUE(changed.Complete());
            }
            done = true;
        }
        while (!done) {
            File file;
            EXPECT_EQ(file.Open("arc:new", kCreateOrTruncate | kWritePlain), RES_OK);
            EXPECT_EQ(File::Exists("arc:n"), RES_OK);
            file.Abandon();
            ++opened;
        }
    });
}

// The first thread that gets the lock finds no archive. The other one still waits with the same
// descriptor then.
TEST_F(MountThreads, AnArchiveThatIsSpoiltWhileTwoThreadsWaitForItIsLeftToOthers) {
    MountBytes(RawArchive({{"m", "old"}}), true);
    const auto backend = std::static_pointer_cast<FileSubArchive>(
        FileSubstList::Instance().TopBackend(Intern("arc")));
    File reader;
    ASSERT_EQ(reader.Open("arc:m", kReadPlain), RES_OK);
    platform::FileHandle other;
    ASSERT_TRUE(other.Open("a.va", platform::Access::ReadWrite, platform::Creation::OpenExisting,
                           platform::Share::DenyNone));
    ASSERT_TRUE(other.LockChanges(0));
    InThreads(3, [&](std::size_t t) {
        if (t > 0) {
            EXPECT_TRUE(backend->BeginChanges());
            EXPECT_FALSE(backend->AddMember("n", {}, false));
            return;
        }
        // Both mostly wait by then; if they do not, the case proves less but still passes.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(other.WriteAt(0, std::as_bytes(std::span("spoilt"))), sizeof "spoilt");
        other.UnlockChanges();
    });
    EXPECT_FALSE(backend->IsAvailable());
    EXPECT_TRUE(other.LockChanges(0)) << "the lock is not kept";
    char content[3];
    EXPECT_EQ(reader.Read(content, sizeof content), sizeof content) << "open files stay readable";
}

}  // namespace
}  // namespace Vorn::Testing
