#include "delta/Workspace.h"

#include "tests/delta/Samples.h"
#include "tests/support/Tests.h"

namespace delta::test {
namespace {

struct Pair {
    const char* name;
    ByteBuffer before;
    ByteBuffer after;
};

ByteBuffer Edited(ByteBuffer bytes, std::size_t step) {
    for (std::size_t i = step / 2; i < bytes.size(); i += step) bytes[i] ^= 0x21U;
    bytes.erase(bytes.begin() + 100, bytes.begin() + 130);
    return Join(std::move(bytes), Config(90, 9));
}

// Every method, with large and small pairs in turns.
std::vector<Pair> Pairs() {
    const ByteBuffer echo = Noise(90'000, 1);
    return {
        {"small text", Config(1300, 1), Edited(Config(1300, 1), 500)},
        {"streams", Noise(900'000, 2), Edited(Noise(900'000, 2), 4)},
        {"another small text", Config(1300, 3), Edited(Config(1300, 3), 300)},
        {"zstd", Config(100, 1), Join(echo, echo)},
        {"zstd, small", Config(50, 1), Join(Config(3000, 4), Config(3000, 4))},
        {"stored", Noise(700, 5), Noise(800, 6)},
        {"larger text", Config(60'000, 7), Edited(Config(60'000, 7), 900)},
        {"large", Join(Noise(3'000'000, 8), Config(90'000, 8)),
         Edited(Join(Noise(3'000'000, 8), Config(90'000, 8)), 50'000)},
        {"nothing", {}, {}},
        {"small text again", Config(1300, 1), Edited(Config(1300, 1), 500)},
    };
}

TEST(Workspace, MakesTheSameBytesWhateverItWasUsedFor) {
    Workspace used;
    std::set<std::uint8_t> methods;
    for (const Pair& pair : Pairs()) {
        SCOPED_TRACE(pair.name);
        const ByteBuffer diff =
            FromBytes(MakeDelta(AsBytes(pair.before), AsBytes(pair.after), used));
        EXPECT_EQ(diff, DiffOf(pair.before, pair.after));
        EXPECT_TRUE(std::ranges::equal(ApplyDelta(AsBytes(pair.before), AsBytes(diff), used),
                                       AsBytes(pair.after)));
        methods.insert(diff.at(1));
    }
    EXPECT_EQ(methods.size(), 4U);
}

TEST(Workspace, ServesOnAfterAFailure) {
    const ByteBuffer before = Config(5000, 1);
    const ByteBuffer after = Edited(before, 400);
    Workspace workspace;
    for (const Method method : {Method::Modelled, Method::Streams, Method::ZstdAfter}) {
        const ByteBuffer diff = DiffBy(method, before, after);
        ByteBuffer damaged = diff;
        damaged[damaged.size() / 2] ^= 4U;
        EXPECT_THROW((void)ApplyDelta(AsBytes(before), AsBytes(damaged), workspace), Error);
        EXPECT_TRUE(std::ranges::equal(ApplyDelta(AsBytes(before), AsBytes(diff), workspace),
                                       AsBytes(after)));
    }
}

TEST(Workspace, HoldsNoMoreThanWasForetold) {
    for (const Pair& pair : Pairs()) {
        SCOPED_TRACE(pair.name);
        const std::uint64_t most = MemoryToMake(pair.before.size(), pair.after.size());
        Workspace workspace;
        const ByteBuffer diff =
            FromBytes(MakeDelta(AsBytes(pair.before), AsBytes(pair.after), workspace));
        EXPECT_LE(workspace.MemoryHeld(), most);

        Workspace reader;
        (void)ApplyDelta(AsBytes(pair.before), AsBytes(diff), reader);
        EXPECT_LE(reader.MemoryHeld(), InspectDelta(AsBytes(diff)).memory);
    }
}

TEST(Workspace, KeepsToALimitWithLargerDiffs) {
    Workspace workspace;
    for (const Pair& pair : Pairs()) {
        const Bytes before = AsBytes(pair.before);
        const Bytes after = AsBytes(pair.after);
        const std::uint64_t full = MemoryToMake(before.size(), after.size());
        const std::size_t best = MakeDelta(before, after, workspace).size();
        for (std::uint64_t limit = after.size() + 80'000; limit < full; limit *= 3) {
            SCOPED_TRACE(testing::Message() << pair.name << ", " << limit);
            const Options options{.memoryLimit = limit};
            EXPECT_LE(MemoryToMake(before.size(), after.size(), options), limit);
            const ByteBuffer diff = FromBytes(MakeDelta(before, after, workspace, options));
            EXPECT_LE(workspace.MemoryHeld(), limit);
            EXPECT_LE(diff.size(), after.size() + kMostOverhead);
            EXPECT_GE(diff.size() + diff.size() / 8 + 8, best);
            EXPECT_TRUE(Makes(pair.before, diff, pair.after));
        }
    }
}

// In a large file: memory for a diff that stores the new content is enough for the search too.
TEST(Workspace, FindsWhatIsUnchangedUnderAnyLimit) {
    constexpr std::size_t kSize = 16'000'000;
    const ByteBuffer before = Noise(kSize, 1);
    ByteBuffer after = before;
    after[kSize / 3] ^= 1U;
    after[kSize / 2] ^= 1U;
    const ByteBuffer other = Noise(kSize, 2);
    Workspace workspace;
    for (const std::uint64_t extra : {0U, 12U << 20, 24U << 20}) {
        SCOPED_TRACE(extra);
        const Options options{.memoryLimit = kSize + 80'000 + extra};
        const ByteBuffer diff =
            FromBytes(MakeDelta(AsBytes(before), AsBytes(after), workspace, options));
        EXPECT_LE(workspace.MemoryHeld(), options.memoryLimit);
        EXPECT_LE(diff.size(), 200U);
        EXPECT_TRUE(Makes(before, diff, after));
        const ByteBuffer stored =
            FromBytes(MakeDelta(AsBytes(before), AsBytes(other), workspace, options));
        EXPECT_LE(workspace.MemoryHeld(), options.memoryLimit);
        EXPECT_TRUE(Makes(before, stored, other));
    }
}

TEST(Workspace, RefusesWhatALimitCannotHold) {
    const ByteBuffer content = Noise(1'000'000, 1);
    Workspace workspace;
    const auto kindOf = [](const auto& work) -> std::optional<ErrorKind> {
        try {
            work();
            return std::nullopt;
        } catch (const Error& error) {
            return error.Kind();
        }
    };
    const Options tooLittle{.memoryLimit = content.size()};
    EXPECT_EQ(kindOf([&] { (void)MakeDelta({}, AsBytes(content), workspace, tooLittle); }),
              ErrorKind::OutOfMemory);
    EXPECT_EQ(kindOf([&] { (void)MemoryToMake(0, content.size(), tooLittle); }),
              ErrorKind::OutOfMemory);
    EXPECT_EQ(kindOf([&] { (void)MemoryToMake(kMaxSize + 1, 0); }), ErrorKind::TooLarge);

    const ByteBuffer diff = DiffOf({}, content);
    EXPECT_EQ(kindOf([&] { (void)ApplyDelta({}, AsBytes(diff), workspace, content.size() - 1); }),
              ErrorKind::TooLarge);
    EXPECT_EQ(kindOf([&] { (void)ApplyDelta({}, AsBytes(diff), workspace, content.size()); }),
              std::nullopt);
}

TEST(Workspace, ReleasesWhatItHolds) {
    Workspace workspace;
    const std::uint64_t atFirst = workspace.MemoryHeld();
    const ByteBuffer content = Noise(300'000, 1);
    (void)MakeDelta({}, AsBytes(content), workspace);
    EXPECT_GT(workspace.MemoryHeld(), content.size());
    workspace.Release();
    EXPECT_EQ(workspace.MemoryHeld(), atFirst);
}

TEST(InspectDelta, ReportsWhatTheHeaderDeclares) {
    const ByteBuffer before = Config(3000, 1);
    const DeltaInfo info = InspectDelta(AsBytes(DiffOf(before, FromText("x"))));
    EXPECT_EQ(info.oldSize, before.size());
    EXPECT_EQ(info.newSize, 1U);
    EXPECT_EQ(info.oldCrc32, OldCheck(before));
    EXPECT_THROW((void)InspectDelta(AsBytes(before)), Error);
}

}  // namespace
}  // namespace delta::test
