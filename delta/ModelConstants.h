// The constants of the models of method 1. They are fixed, as part of the format: a diff made with
// other values does not decode, so changing any of them needs a new method.
#pragma once

#include <cstddef>
#include <cstdint>

namespace delta::models {

// How fast a probability adapts: the n-th bit moves it by 1 / (n + 1.5), and n stops at these
// limits. High limits suit stable statistics, low limits drifting ones.
constexpr std::uint32_t kMixedLimit = 24;    // statistics change within a file
constexpr std::uint32_t kDiffersLimit = 30;  // one flag a segment: few, so learn fast
constexpr std::uint32_t kNumberLimit = 60;   // sizes and distances of one file resemble each other
constexpr std::uint32_t kQuickLimit = 1000;  // a flag a byte: many, and nearly always 0

// The mixer of several contexts.
constexpr int kLearningShift = 14;            // the largest error moves a weight by 1/8
constexpr std::int32_t kWeightOne = 65536;    // 16 fractional bits keep small steps from vanishing
constexpr std::int32_t kMaxWeight = 1 << 24;  // keeps sums of weighted inputs within 64 bits
// Weights start at 7/2 of an equal share: at first most contexts have seen nothing and predict
// nothing, and the few that have seen a bit are mostly right.
constexpr std::size_t kWeightShare = 7;
constexpr std::size_t kWeightShareOf = 2;

// Tables of histories, as binary logarithms of their lengths.
constexpr int kMinTableBits = 12;       // fewer would make the contexts of tiny files collide
constexpr int kMaxDifferenceBits = 18;  // 1 MB, to stay in the second-level cache
constexpr int kMaxFreshBits = 19;       // 2 MB: fresh bytes have more contexts than differences
constexpr int kFreshBitsPerSize = 2;    // 9 contexts a byte fill 4 histories a byte quickly

// Whether and how copied bytes differ.
constexpr std::uint32_t kRareDifference = 1U << 11;  // 1/32 at first: most copied bytes are equal
constexpr std::uint32_t kUnlikely = 160;      // of 65536: below, the mixer is skipped to save time
constexpr std::uint32_t kMinDiffers = 64;     // of 65536: keeps the flag of a segment below 10 bits
constexpr std::uint32_t kDistances = 16;      // classes of "bytes since the last difference"
constexpr std::uint64_t kExactDistances = 8;  // addresses and numbers have up to 8 bytes
constexpr std::uint32_t kDistanceOffset = 5;  // makes the classes after the exact ones continue
constexpr std::uint64_t kStartDistance = 64;  // a file starts as if long unchanged
constexpr std::size_t kFlagInputs = 6;        // contexts of DifferenceModel::SetFlagContexts
constexpr std::size_t kDeltaInputs = 8;       // contexts of DifferenceModel::SetDeltaContexts
constexpr std::size_t kDifferenceSets = 8;    // weights by distance, or by place in a run: 0 to 7
constexpr std::uint32_t kNotInRun = 99;       // a run length that no run class uses
constexpr std::uint64_t kFarGap = 255;        // gaps from here on count as one

// Fresh bytes.
constexpr std::size_t kFreshInputs = 9;  // contexts of FreshModel::Prepare
constexpr std::size_t kFreshSets = 4;    // weights by class of match length
constexpr int kPlaceBits = 13;  // latest places by hash: 32 KB, to stay in the fastest cache
constexpr std::uint64_t kKeyLength = 4;  // bytes that must repeat: shorter repeats mislead
constexpr std::uint64_t kIndexedWhole = 1U << 16;  // larger old files would overwrite the places
constexpr std::uint64_t kMaxMatch = 24;            // longer matches predict no better
constexpr std::uint32_t kMatchClasses = 15;        // longer matches form one class
constexpr std::uint64_t kLessonBefore = 256;       // old bytes learnt before those at fresh bytes
constexpr std::uint64_t kLessonAfter = 256;  // and after it; each takes the time of coding a byte
constexpr std::uint64_t kMaxLessons = 1U << 15;  // a bound on that time for each file

// Initial probabilities of numbers of 2^31 and more, and of 2^15 and more among the others.
constexpr std::uint32_t kRareWidth32 = 1U << 10;
constexpr std::uint32_t kRareWidth16 = 1U << 13;
constexpr std::uint32_t kMinNumberBit = 32;  // keeps a first surprise below 11 bits

}  // namespace delta::models
