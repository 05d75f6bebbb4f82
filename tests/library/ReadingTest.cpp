#include "tests/support/RawArchive.h"
#include "vaconverter/compare.h"
#include "vaconverter/sums.h"

namespace Vorn::Testing {
namespace {

// Two archives of the same content, in different orders, of large members and many small ones.
class LibraryReads : public testing::Test {
protected:
    LibraryReads() {
        std::vector<RawMember> members;
        for (unsigned i = 0; i < 4; ++i)
            members.push_back({"large" + std::to_string(i), Noise(3'000'000, i)});
        for (unsigned i = 0; i < 300; ++i)
            members.push_back({"small/" + std::to_string(i), std::to_string(i)});
        folder_.Write("a.va", RawArchive(members));
        std::ranges::reverse(members);
        folder_.Write("b.va", RawArchive(members));
    }

    TempFolder folder_;
};

TEST_F(LibraryReads, DigestsDependNeitherOnThreadsNorOnTheOrderOfMembers) {
    const va::Archive a(folder_.Path("a.va"));
    const va::Archive b(folder_.Path("b.va"));
    const std::vector<va::Sha256> digests = va::Digests(a);
    EXPECT_EQ(va::Digests(a, 5), digests);
    EXPECT_EQ(va::ContentDigest(a, digests), va::ContentDigest(b, va::Digests(b, 2)));
    EXPECT_EQ(va::SumLine("0", digests[a.Find("small/0")->Index()]),
              "5feceb66ffc86f38d952786c6d696c79c2dbc239dd4e91b46729d73a27fb57e9  0\n");
}

TEST_F(LibraryReads, ProgressRisesToTheWholeAndCancels) {
    const va::Archive a(folder_.Path("a.va"));
    const va::Archive b(folder_.Path("b.va"));
    using Work = std::function<void(unsigned, const va::ProgressFunction&)>;
    const Work works[] = {
        [&](auto threads, auto& progress) { (void)a.Check(threads, 10, progress); },
        [&](auto threads, auto& progress) { (void)va::Digests(a, threads, progress); },
        [&](auto threads, auto& progress) { (void)va::Compare(a, b, threads, progress); }};
    for (const Work& work : works) {
        for (const unsigned threads : {1U, 3U}) {
            std::vector<std::uint64_t> done;
            std::uint64_t total = 0;
            work(threads, [&](const va::Progress& progress) {
                done.push_back(progress.done);
                total = progress.total;
                return true;
            });
            EXPECT_GE(done.size(), threads == 1 ? 3U : 1U);
            EXPECT_TRUE(std::ranges::is_sorted(done));
            EXPECT_EQ(done.back(), total);

            int calls = 0;
            try {
                work(threads, [&](const va::Progress&) { return ++calls == 0; });
                ADD_FAILURE() << "it was not cancelled";
            } catch (const va::Error& error) {
                EXPECT_EQ(error.code(), va::ErrorCode::Refused);
                EXPECT_STREQ(error.what(), "cancelled");
            }
            EXPECT_EQ(calls, 1) << "it was asked again";
        }
    }
}

}  // namespace
}  // namespace Vorn::Testing
