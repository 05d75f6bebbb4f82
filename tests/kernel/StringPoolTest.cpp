#include "kernel/StringPool.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/kernel/InThreads.h"

namespace Vorn {
namespace {

// Differences of the counters of the one pool; each test uses texts of its own.
class StringPoolTest : public testing::Test {
protected:
    StringPool& pool = GetStringPool();

    void SweepAll() {
        for (std::uint32_t i = 0; i < StringPool::kBucketCount; ++i) pool.Sweep();
    }
    static void ExpectChange(const StringPool::Statistics& before,
                             const StringPool::Statistics& after, int live, int references,
                             int hits, int created) {
        EXPECT_EQ(static_cast<int>(after.liveEntries - before.liveEntries), live);
        EXPECT_EQ(static_cast<int>(after.references - before.references), references);
        EXPECT_EQ(static_cast<int>(after.hits - before.hits), hits);
        EXPECT_EQ(static_cast<int>(after.created - before.created), created);
    }
};

TEST_F(StringPoolTest, CountsEntriesAndReferences) {
    const auto before = pool.GetStatistics();
    InternedString first = Intern("counted");
    InternedString second = Intern("counted");
    EXPECT_EQ(first, second);
    EXPECT_EQ(pool.ReferenceCount(first), 2u);
    ExpectChange(before, pool.GetStatistics(), 1, 2, 1, 1);

    const StringPoolEntry* entry = first.Entry();
    first = InternedString();
    second = InternedString();
    ExpectChange(before, pool.GetStatistics(), 0, 0, 1, 1);
    const InternedString revived = Intern("counted");
    EXPECT_EQ(revived.Entry(), entry);
    EXPECT_EQ(pool.ReferenceCount(revived), 1u);
    ExpectChange(before, pool.GetStatistics(), 1, 1, 2, 1);
}

TEST_F(StringPoolTest, HandlesGiveBackExactlyWhatTheyTook) {
    const auto before = pool.GetStatistics();
    {
        InternedString a = Intern("given back");
        InternedString copy(a);
        InternedString moved(std::move(copy));
        InternedString assigned;
        assigned = moved;
        assigned = *&assigned;
        a = std::move(assigned);
        EXPECT_EQ(pool.ReferenceCount(a), 2u);
    }
    ExpectChange(before, pool.GetStatistics(), 0, 0, 0, 1);
}

TEST_F(StringPoolTest, SweepFreesOnlyWhatNobodyHolds) {
    SweepAll();
    const auto before = pool.GetStatistics();
    const InternedString kept = Intern("kept over the sweep");
    for (int i = 0; i < 3000; ++i) {
        static_cast<void>(Intern("dropped " + std::to_string(i)));
    }
    EXPECT_EQ(pool.GetStatistics().entries, before.entries + 3001);
    SweepAll();
    EXPECT_EQ(pool.GetStatistics().entries, before.entries + 1);
    EXPECT_EQ(Intern("kept over the sweep"), kept);
}

TEST_F(StringPoolTest, EachSweepCleansOneBucket) {
    SweepAll();
    std::vector<bool> filled(StringPool::kBucketCount);
    std::size_t count = 0;
    for (int i = 0; count < filled.size() && i < 100000; ++i) {
        const std::string text = "one per bucket " + std::to_string(i);
        if (filled[StringPool::BucketOf(text)]) continue;
        filled[StringPool::BucketOf(text)] = true;
        static_cast<void>(Intern(text));
        ++count;
    }
    ASSERT_EQ(count, filled.size());
    for (std::uint64_t entries = pool.GetStatistics().entries; count > 0; --count) {
        pool.Sweep();
        ASSERT_EQ(pool.GetStatistics().entries, --entries);
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
    const auto before = pool.GetStatistics();
    std::vector<InternedString> names;
    names.reserve(60000);
    for (int i = 0; i < 60000; ++i)
        names.push_back(Intern(std::to_string(i) + "/common-file-name"));
    for (int i = 0; i < 60000; ++i) {
        ASSERT_EQ(Intern(std::to_string(i) + "/common-file-name"), names[static_cast<unsigned>(i)]);
    }
    EXPECT_LT(pool.GetStatistics().chainSteps - before.chainSteps, 300000u);
}

TEST_F(StringPoolTest, EditsInPlaceOnlyWhenAloneWithRoom) {
    InternedString alone = Intern("in place");
    const StringPoolEntry* entry = alone.Entry();
    const auto before = pool.GetStatistics();
    Insert(alone, "!", 8);
    EXPECT_EQ(alone.Entry(), entry);
    EXPECT_EQ(alone.View(), "in place!");
    ExpectChange(before, pool.GetStatistics(), 0, 0, 0, 1);

    const InternedString other = alone;
    Erase(alone, 8, 1);
    EXPECT_NE(alone.Entry(), entry);
    EXPECT_EQ(other.View(), "in place!");
    EXPECT_EQ(pool.ReferenceCount(alone), 1u);
    EXPECT_EQ(pool.ReferenceCount(other), 1u);
    ExpectChange(before, pool.GetStatistics(), 1, 1, 0, 2);
}

TEST_F(StringPoolTest, AnEditThatMeetsAnExistingTextJoinsIt) {
    const InternedString existing = Intern("meeting");
    InternedString edited = Intern("MEETing");
    const auto before = pool.GetStatistics();
    ToLower(edited);
    EXPECT_EQ(edited, existing);
    EXPECT_EQ(pool.ReferenceCount(existing), 2u);
    ExpectChange(before, pool.GetStatistics(), -1, 0, 1, 0);
    EXPECT_EQ(pool.GetStatistics().entries, before.entries - 1);
}

TEST_F(StringPoolTest, ThreadsInternAndReleaseTogether) {
    const auto before = pool.GetStatistics();
    InThreads(4, [this](std::size_t t) {
        for (std::size_t i = 0; i < 3000; ++i) {
            const InternedString name = Intern("shared " + std::to_string(i % 50));
            InternedString copy = name;
            if (i % 5 == 0) Insert(copy, "x", 0);
            if (i % 100 == t) pool.Sweep();
        }
    });
    const auto after = pool.GetStatistics();
    EXPECT_EQ(after.liveEntries, before.liveEntries);
    EXPECT_EQ(after.references, before.references);
}

}  // namespace
}  // namespace Vorn
