// The models compute four numbers at a time, several bits late, and in parts of 16 bits. Here they
// must predict what one plain number after the other predicts, since their predictions are the
// format.
#include "delta/MixedModel.h"

#include <random>
#include <vector>

#include "tests/support/Tests.h"

namespace delta::test {
namespace {

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}
    std::uint32_t operator()() { return static_cast<std::uint32_t>(engine_()); }

private:
    std::mt19937 engine_;
};

// Notes the probabilities that a coder is asked to use.
struct Recorder {
    bool Code(bool bit, std::uint32_t probability) {
        probabilities.push_back(probability);
        return bit;
    }
    std::vector<std::uint32_t> probabilities;
};

std::uint32_t MixPlainly(const std::int32_t* weights, const std::int32_t* opinions, int count) {
    std::int64_t sum = 0;
    for (int i = 0; i < count; ++i) sum += std::int64_t{weights[i]} * opinions[i];
    const std::int64_t limit = detail::kStretchLimit;
    const std::int64_t mixed = std::clamp(sum / models::kWeightOne, -limit, limit);
    return detail::kSquash.at(static_cast<std::size_t>(mixed + limit));
}

// MixedModel bit by bit and number by number.
template <std::size_t kInputs>
class PlainModel {
public:
    explicit PlainModel(int tableBits)
        : shift_(32 - tableBits), histories_(std::size_t{1} << tableBits, history::kUnseen) {
        weights_.fill(static_cast<std::int32_t>(65536 * 7 / 2 / (kInputs + 1)));
    }

    void CodeByte(Recorder& coder, const std::array<std::uint32_t, kInputs>& contexts, int value) {
        for (int half = 0; half < 2; ++half) {
            const auto bits = static_cast<std::uint32_t>(half == 0 ? value >> 4 : value & 0xf);
            const std::uint32_t before =
                half == 0 ? 0 : static_cast<std::uint32_t>(16 | value >> 4);
            for (std::uint32_t node = 1, i = 4; i-- > 0; node = node * 2 + (bits >> i & 1)) {
                CodeNode(coder, contexts, before, node, (bits >> i & 1) != 0);
            }
        }
    }

private:
    void CodeNode(Recorder& coder, const std::array<std::uint32_t, kInputs>& contexts,
                  std::uint32_t before, std::uint32_t node, bool bit) {
        std::array<std::uint32_t*, kInputs> used{};
        std::array<std::int32_t, kInputs> opinions{};
        for (std::size_t i = 0; i < kInputs; ++i) {
            const std::uint32_t hash = (contexts[i] + before * 0x9e3779b1U) * 0x85ebca6bU;
            used[i] = &histories_[(hash >> shift_) ^ node];
            const bool seen = *used[i] != history::kUnseen;
            opinions[i] = seen ? detail::kStretch[*used[i] >> 16] : 0;
        }
        const std::uint32_t p = MixPlainly(weights_.data(), opinions.data(), kInputs);
        coder.Code(bit, p);
        const std::int32_t error = (bit ? 65535 : 0) - static_cast<std::int32_t>(p);
        for (std::size_t i = 0; i < kInputs; ++i) {
            weights_[i] += (opinions[i] * error) >> models::kLearningShift;
            *used[i] = history::Learnt(*used[i], bit);
        }
    }

    int shift_;
    std::vector<std::uint32_t> histories_;
    std::array<std::int32_t, kInputs> weights_;
};

// Codes text-like bytes, some of them taught in between. In the small table nearly all contexts
// share a line.
template <std::size_t kInputs>
void ExpectPlainPredictions(int tableBits) {
    SCOPED_TRACE(std::to_string(kInputs) + " inputs, " + std::to_string(tableBits) + " bits");
    MixedModel<kInputs, 1> model;
    model.Clear(tableBits);
    PlainModel<kInputs> plain(tableBits);
    Recorder coded;
    Recorder expected;
    Random random(5);
    std::uint32_t tail = 0;
    for (int n = 0; n < 4000; ++n) {
        const auto value = static_cast<std::uint8_t>("a stone, a tree. "[random() % 17] + n / 1000);
        std::array<std::uint32_t, kInputs> contexts{};
        for (std::uint32_t i = 0; i < kInputs; ++i) {
            contexts[i] = HashContext({i, i < 4 ? tail & ((1U << 8 * i) - 1) : tail >> i});
        }
        model.SetContexts(contexts, 0);
        if (n % 100 < 40) {
            model.Teach(value);
            if (n % 100 == 39) model.FinishTeaching();
            Recorder dropped;
            plain.CodeByte(dropped, contexts, value);
        } else {
            EXPECT_EQ(model.CodeByte(coded, value), value);
            plain.CodeByte(expected, contexts, value);
        }
        tail = tail << 8 | value;
    }
    EXPECT_EQ(coded.probabilities, expected.probabilities);
}

TEST(MixedModel, PredictsAsPlainArithmeticDoes) {
    for (const int tableBits : {5, 8, 12, 18}) {
        ExpectPlainPredictions<6>(tableBits);
        ExpectPlainPredictions<8>(tableBits);
        ExpectPlainPredictions<9>(tableBits);
    }
}

TEST(HistoryTable, LearnsFourHistoriesAsItLearnsOne) {
    Random random(6);
    for (int n = 0; n < 100'000; ++n) {
        std::array<std::uint32_t, 4> states{};
        for (std::uint32_t& state : states) {
            const std::uint32_t probability = random() % 8 == 0 ? (random() % 2) * history::kCertain
                                                                : random() & history::kCertain;
            state = random() % 8 == 0 ? history::kUnseen
                                      : probability << 6 | random() % models::kMixedLimit;
        }
        const std::uint32_t bits = random() & 0xfU;
        const Lanes learnt =
            history::LearntFour(Lanes{static_cast<int>(states[0]), static_cast<int>(states[1]),
                                      static_cast<int>(states[2]), static_cast<int>(states[3])},
                                history::BitMasks(bits));
        for (std::size_t i = 0; i < 4; ++i) {
            const bool bit = (bits >> (3 - i) & 1) != 0;
            ASSERT_EQ(static_cast<std::uint32_t>(learnt[i]), history::Learnt(states[i], bit))
                << std::hex << states[i] << ' ' << bit;
        }
    }
}

TEST(HistoryTable, MovesLikeABitHistory) {
    Random random(7);
    std::uint32_t state = history::kUnseen;
    BitHistory plain = BitHistory::Even();
    for (int n = 0; n < 100'000; ++n) {
        const bool bit = random() % 1000 < (n / 1000 % 2 == 0 ? 998U : 20U);
        state = history::Learnt(state, bit);
        plain.Learn(bit, models::kMixedLimit);
        ASSERT_EQ(state >> 12, plain.Probability()) << n;
    }
}

using Mix = Mixer<9, 1>;

std::int32_t& At(std::array<Lanes, 3>& groups, std::size_t i) {
    return reinterpret_cast<std::int32_t*>(groups.data())[i];
}

TEST(Mixer, MixesAnyWeightsExactly) {
    Random random(8);
    for (int n = 0; n < 100'000; ++n) {
        const int bits = static_cast<int>(random() % 25);
        std::array<Lanes, 3> weights{};
        std::array<Lanes, 3> opinions{};
        for (std::size_t i = 0; i < 9; ++i) {
            At(weights, i) = static_cast<std::int32_t>(random() % (2U << bits)) - (1 << bits);
            At(opinions, i) = static_cast<std::int32_t>(random() % 4095) - detail::kStretchLimit;
        }
        ASSERT_EQ(Mix::Mix(weights, opinions), MixPlainly(&At(weights, 0), &At(opinions, 0), 9));
    }
}

TEST(Mixer, KeepsWeightsInTheirRange) {
    std::array<Lanes, 3> weights{};
    std::array<Lanes, 3> opinions{};
    At(opinions, 0) = detail::kStretchLimit;
    At(opinions, 8) = -detail::kStretchLimit;
    for (int byte = 0; byte < 1000; ++byte) {
        const bool nearLimit = Mix::NearLimit(weights);
        for (int bit = 0; bit < 8; ++bit) {
            Mix::Learn(weights, opinions, 22, true);
            if (nearLimit) Mix::Clamp(weights);
            ASSERT_LE(At(weights, 0), models::kMaxWeight);
            ASSERT_GE(At(weights, 8), -models::kMaxWeight);
        }
    }
    EXPECT_EQ(At(weights, 0), models::kMaxWeight);
    EXPECT_EQ(At(weights, 8), -models::kMaxWeight);
    Mix::Learn(weights, opinions, 65514, false);
    EXPECT_LT(At(weights, 0), models::kMaxWeight);
}

TEST(Lanes, MultiplyAsTheirPortableFormsDo) {
    Random random(9);
    const auto number = [&random] { return static_cast<std::int32_t>(random()); };
    for (int n = 0; n < 10'000; ++n) {
        const Lanes a{number(), number(), number(), number()};
        const Lanes b{number(), number(), number(), -32768 * (n % 2)};
        const Lanes sum = SumOfProducts(a, b);
        const Lanes plainSum = portable::SumOfProducts(a, b);
        const Lanes upper = UpperProduct(a, b & 0xffff);
        const Lanes plainUpper = portable::UpperProduct(a, b & 0xffff);
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(int{sum[i]}, int{plainSum[i]});
            ASSERT_EQ(int{upper[i]}, int{plainUpper[i]});
        }
    }
}

}  // namespace
}  // namespace delta::test
