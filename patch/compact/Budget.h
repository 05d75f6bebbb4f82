// How the writer of a compact patch shares out its memory.
//
// What it decides about a member depends on the limit and on the sides, but not on the number of
// threads: the bytes of the patch must not.
#pragma once

#include <algorithm>
#include <cstdint>

#include "patch/compact/Decoder.h"

namespace patch::compact {

class Budget {
public:
    // `limit` is in bytes; UINT64_MAX means no limit. `largest` is the greatest Least of all
    // members, each with the old content that it cannot do without.
    Budget(std::uint64_t limit, std::uint64_t largest)
        : limit_(limit),
          keepsCarried_(limit >= kMostKept && limit - kMostKept >= largest),
          shared_(keepsCarried_ && IsLimited() ? limit - kMostKept : limit) {}

    // Returns the least limit with which a member can be written: its content, what the coding and
    // the search make of it, the content that the proof rebuilds, its sources twice, and an index.
    [[nodiscard]] static std::uint64_t Least(std::uint64_t sources, std::uint64_t content) {
        const std::uint64_t bytes = 2 * sources + 4 * content;
        return bytes + bytes / (kIndexShare - 1) + kSmall;
    }

    [[nodiscard]] bool IsLimited() const { return limit_ != UINT64_MAX; }

    // Whether carried members may be sources of others, which readers and the proof must keep then.
    [[nodiscard]] bool KeepsCarried() const { return keepsCarried_; }

    // Returns how many bytes the sources of a member may have.
    [[nodiscard]] std::uint64_t MostSources(std::uint64_t content) const {
        if (!IsLimited()) return kMostSourceBytes;
        const std::uint64_t bytes = shared_ - shared_ / kIndexShare;
        const std::uint64_t beside = 4 * content + kSmall;
        return bytes < beside ? 0 : std::min(kMostSourceBytes, (bytes - beside) / 2);
    }

    // Returns how many bytes the index of the sources may take.
    [[nodiscard]] std::uint64_t Index() const { return limit_ / kIndexShare; }

    // Returns how many samples of added members may be remembered.
    [[nodiscard]] std::uint64_t Samples() const { return limit_ / (2 * kSampleBytes); }

    // Returns how many workers may prepare members of which none takes more than `member` bytes,
    // while the proof takes `proof`.
    [[nodiscard]] unsigned Workers(unsigned threads, std::uint64_t member,
                                   std::uint64_t proof) const {
        if (!IsLimited()) return std::max(threads, 1U);
        const std::uint64_t left = limit_ - std::min(limit_, proof);
        return static_cast<unsigned>(
            std::clamp<std::uint64_t>(left / (member + Index()), 1, std::max(threads, 1U)));
    }

private:
    static constexpr std::uint64_t kIndexShare = 8;
    static constexpr std::uint64_t kSmall = 1U << 16;  // the index of a tiny content
    static constexpr std::uint64_t kSampleBytes = 200;
    static constexpr std::uint64_t kMostSourceBytes = std::uint64_t{512} << 20;

    std::uint64_t limit_;
    bool keepsCarried_;
    std::uint64_t shared_;  // what a member may take
};

}  // namespace patch::compact
