#include "kernel/StringPool.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

// Differences of the counters of the one pool; each test uses texts of its own.
class StringPoolTest : public testing::Test {
protected:
    void SweepAll() {
        for (std::uint32_t i = 0; i < StringPool::kBucketCount; ++i) pool.Sweep();
    }
    [[nodiscard]] std::uint64_t Entries() const { return pool.GetStatistics().entries; }
    void ExpectChange(int live, int references, int hits, int created) const {
        const auto now = pool.GetStatistics();
        EXPECT_EQ(static_cast<int>(now.liveEntries - before.liveEntries), live);
        EXPECT_EQ(static_cast<int>(now.references - before.references), references);
        EXPECT_EQ(static_cast<int>(now.hits - before.hits), hits);
        EXPECT_EQ(static_cast<int>(now.created - before.created), created);
    }

    StringPool& pool = GetStringPool();
    StringPool::Statistics before = pool.GetStatistics();
};

TEST_F(StringPoolTest, CountsEntriesAndReferences) {
    InternedString first = Intern("counted");
    InternedString second = Intern("counted");
    EXPECT_EQ(first, second);
    EXPECT_EQ(pool.ReferenceCount(first), 2u);
    ExpectChange(1, 2, 1, 1);

    const StringPoolEntry* entry = first.Entry();
    first = InternedString();
    second = InternedString();
    ExpectChange(0, 0, 1, 1);
    const InternedString revived = Intern("counted");
    EXPECT_EQ(revived.Entry(), entry);
    EXPECT_EQ(pool.ReferenceCount(revived), 1u);
    ExpectChange(1, 1, 2, 1);
    {
        InternedString a = Intern("given back");
        InternedString copy(a);
        const InternedString moved(std::move(copy));
        InternedString assigned;
        assigned = moved;
        assigned = *&assigned;
        a = std::move(assigned);
        EXPECT_EQ(pool.ReferenceCount(a), 2u);
    }
    ExpectChange(1, 1, 2, 2);
}

TEST_F(StringPoolTest, EachSweepFreesWhatNobodyHoldsInOneBucket) {
    SweepAll();
    const std::uint64_t entries = Entries();
    const InternedString kept = Intern("kept over the sweep");
    for (int i = 0; i < 3000; ++i) (void)Intern("dropped " + std::to_string(i));
    EXPECT_EQ(Entries(), entries + 3001);
    SweepAll();
    EXPECT_EQ(Entries(), entries + 1);
    EXPECT_EQ(Intern("kept over the sweep"), kept);

    std::set<std::uint32_t> filled;
    for (int i = 0; filled.size() < StringPool::kBucketCount && i < 100000; ++i) {
        const std::string text = "one per bucket " + std::to_string(i);
        if (filled.insert(StringPool::BucketOf(text)).second) (void)Intern(text);
    }
    for (std::size_t left = StringPool::kBucketCount; left-- > 0;) {
        pool.Sweep();
        ASSERT_EQ(Entries(), entries + 1 + left);
    }
}

TEST_F(StringPoolTest, BucketsComeFromTheLast16Bytes) {
    EXPECT_EQ(StringPool::BucketOf("ab"), (97u * 8) ^ 98u);
    EXPECT_EQ(StringPool::BucketOf("\xFF\xFF"), ((255u * 8) ^ 255u) % 997);
    const std::string tail = "0123456789abcdef";
    EXPECT_EQ(StringPool::BucketOf('x' + tail), StringPool::BucketOf(tail));
    EXPECT_NE(StringPool::BucketOf("0123456x89abcdef"), StringPool::BucketOf(tail));
    EXPECT_NE(Intern('x' + tail), Intern('y' + tail));
}

// All in one bucket: found through the chains, this would be half of 60,000 squared steps.
TEST_F(StringPoolTest, LookupsStayShortInAFullBucket) {
    std::vector<InternedString> names(60000);
    for (int round = 0; round < 2; ++round) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            const InternedString name = Intern(std::to_string(i) + "/common-file-name");
            ASSERT_EQ(std::exchange(names[i], name), round == 0 ? InternedString() : name);
        }
    }
    EXPECT_LT(pool.GetStatistics().chainSteps - before.chainSteps, 300000u);
}

TEST_F(StringPoolTest, EditsInPlaceOnlyWhatIsAloneAndHasRoom) {
    InternedString alone = Intern("in place");
    const StringPoolEntry* entry = alone.Entry();
    Insert(alone, "!", 8);
    EXPECT_EQ(alone.Entry(), entry);
    EXPECT_EQ(alone.View(), "in place!");
    ExpectChange(1, 1, 0, 2);

    const InternedString other = alone;
    Erase(alone, 8, 1);
    EXPECT_NE(alone.Entry(), entry);
    EXPECT_EQ(other.View(), "in place!");
    EXPECT_EQ(pool.ReferenceCount(alone), 1u);
    EXPECT_EQ(pool.ReferenceCount(other), 1u);
    ExpectChange(2, 2, 0, 3);

    // An edit that meets an existing text joins it.
    const std::uint64_t entries = Entries();
    Insert(alone, "!", 8);
    EXPECT_EQ(alone, other);
    EXPECT_EQ(pool.ReferenceCount(other), 2u);
    ExpectChange(1, 2, 1, 3);
    EXPECT_EQ(Entries(), entries - 1);

    InternedString full = Intern("22 bytes fill a block.");
    entry = full.Entry();
    Insert(full, "!", 22);
    EXPECT_NE(full.Entry(), entry);
    ExpectChange(2, 3, 1, 5);
}

// Sweeps of all threads go round the buckets many times while the names in them come and go.
TEST_F(StringPoolTest, ThreadsInternReleaseAndSweepTogether) {
    InThreads(4, [this](std::size_t t) {
        for (std::size_t i = 0; i < 50000; ++i) {
            const std::string text = "shared " + std::to_string(i * (t + 1) % 50);
            const InternedString name = Intern(text);
            InternedString copy = name;
            if (i % 5 == 0) Insert(copy, "x", 0);
            pool.Sweep();
            ASSERT_EQ(name.View(), text);
            ASSERT_EQ(Intern(text), name);
        }
    });
    const auto after = pool.GetStatistics();
    EXPECT_EQ(after.liveEntries, before.liveEntries);
    EXPECT_EQ(after.references, before.references);
}

}  // namespace
}  // namespace Vorn::Testing
