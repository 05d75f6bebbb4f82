#include "delta/DiffFormat.h"
#include "tests/delta/Samples.h"
#include "tests/support/Tests.h"

namespace delta::test {
namespace {

constexpr Method kMethods[] = {Method::Stored, Method::Modelled, Method::Streams,
                               Method::ZstdAfter};

// A short pair with a difference, a cut and fresh bytes.
class HostileDiff : public testing::Test {
protected:
    HostileDiff() {
        after_[700] ^= 1U;
        after_.erase(after_.begin() + 100, after_.begin() + 120);
        after_ = Join(after_, Config(60, 2));
    }

    ByteBuffer before_ = Config(1500, 1);
    ByteBuffer after_ = before_;
};

TEST_F(HostileDiff, EveryPrefixAndEveryAlteredByteIsRefused) {
    for (const Method method : kMethods) {
        const ByteBuffer diff = DiffBy(method, before_, after_);
        ASSERT_TRUE(Makes(before_, diff, after_));
        ASSERT_GT(diff.size(), 50U);
        for (std::size_t at = 0; at < diff.size(); ++at) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(method) << ": " << at);
            EXPECT_TRUE(Refused(before_, ByteView(diff).first(at)));
            for (const unsigned flip : {1U, 0x80U}) {
                ByteBuffer altered = diff;
                altered[at] = static_cast<std::uint8_t>(altered[at] ^ flip);
                EXPECT_TRUE(Refused(before_, altered)) << flip;
            }
        }
        EXPECT_TRUE(Refused(before_, Join(diff, ByteBuffer(1)))) << static_cast<int>(method);
    }
}

TEST_F(HostileDiff, AnotherOldFileIsRefused) {
    const ByteBuffer diff = DiffOf(before_, after_);
    ByteBuffer other = before_;
    other[450] ^= 1U;
    for (const ByteBuffer& wrong : {other, ByteBuffer{}, after_}) {
        try {
            (void)Makes(wrong, diff, {});
            FAIL() << "applied to another file";
        } catch (const Error& error) {
            EXPECT_EQ(error.Kind(), ErrorKind::WrongOld);
        }
    }
}

TEST_F(HostileDiff, StreamsThatLeaveAFileAreRefused) {
    const ByteBuffer before = FromText("abcdefgh");
    const Vorn::Testing::Table<const char*, ByteBuffer> rows = {
        {"copy beyond the new file", {6, 0, 9, 0, 0, 0, 0}},
        {"copy beyond the old file", {6, 4, 8, 0, 0, 0, 0}},
        {"copy from before the old file", {6, 1, 8, 0, 0, 0, 0}},
        {"fresh bytes beyond the new file", {6, 0, 7, 2, 0, 0, 4, 'a', 'b'}},
        {"fresh bytes beyond the stream", {6, 0, 7, 1, 0, 0, 0}},
        {"control ends early", {4, 0, 8, 0, 0, 0}},
        {"difference without value", {6, 0, 8, 0, 2, 0, 0, 0}},
        {"value without difference", {6, 0, 8, 0, 0, 2, 5, 0}},
        {"difference behind the end", {6, 0, 8, 0, 2, 8, 2, 5, 0}},
        {"stream longer than the diff", {200, 0, 8, 0, 0, 0, 0}},
        {"bytes behind the streams", {6, 0, 8, 0, 0, 0, 0, 0}},
        {"spans of nothing", {18, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0, 0}},
        {"no LZMA shape", {7, 225, 1, 0, 0, 0, 0}},
        {"LZMA of nothing", {7, 93, 0, 0, 0, 0}}};
    for (const auto& [name, payload] : rows) {
        SCOPED_TRACE(name);
        const ByteBuffer diff = WithPayload(before, 8, Method::Streams, payload);
        try {
            (void)Makes(before, diff, {});
            FAIL() << "accepted";
        } catch (const Error& error) {
            EXPECT_STRNE(error.what(), "the diff is damaged: its check does not hold");
        }
    }
}

// The coded part of a small diff must not keep the decoder busy for 4 GiB of output.
TEST_F(HostileDiff, EndlessOutputStopsWithItsInput) {
    for (const Method method : {Method::Modelled, Method::ZstdAfter}) {
        for (std::uint32_t seed = 0; seed < 3; ++seed) {
            EXPECT_TRUE(Refused({}, Declaring4GiB({}, method, Noise(30, seed))))
                << static_cast<int>(method) << ", seed " << seed;
        }
    }
}

}  // namespace
}  // namespace delta::test
