// How a check goes through an archive: the members in the order of their data, shared out in runs.
//
// A worker takes a run that lies close together, so that its reads are large and move forwards; the
// gap before a member is judged with it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <numeric>
#include <utility>
#include <vector>

#include "archive/Contents.h"

namespace archive {

// The members in the order of their data. Borrows the contents.
class CheckOrder {
public:
    explicit CheckOrder(const Contents& contents) : contents_(contents) {
        const MemberTable& members = contents.members;
        ordinals_.resize(members.End());
        std::iota(ordinals_.begin(), ordinals_.end(), 0U);
        const auto byPlace = [&members](std::uint32_t a, std::uint32_t b) {
            return members[a].dataOffset < members[b].dataOffset;
        };
        if (!std::ranges::is_sorted(ordinals_, byPlace)) {
            std::ranges::stable_sort(ordinals_, byPlace);
        }
    }

    [[nodiscard]] std::size_t Count() const { return ordinals_.size(); }
    [[nodiscard]] std::uint32_t Ordinal(std::size_t i) const { return ordinals_[i]; }
    [[nodiscard]] Member operator[](std::size_t i) const { return contents_.members[ordinals_[i]]; }
    // Returns where the chunk of a member begins; 0 when it would begin before the file.
    [[nodiscard]] std::uint64_t Start(std::size_t i) const {
        const std::uint64_t data = (*this)[i].dataOffset;
        return data < kMemberPrefixSize ? 0 : data - kMemberPrefixSize;
    }
    // Returns where member i must end at the latest: at the next member, the index or the end of
    // the file.
    [[nodiscard]] std::uint64_t Limit(std::size_t i) const {
        std::uint64_t limit = contents_.fileSize;
        if (i + 1 < Count()) limit = std::min(limit, Start(i + 1));
        const std::uint64_t index = contents_.header.indexOffset;
        if (contents_.indexEnd != 0 && index >= Start(i)) limit = std::min(limit, index);
        return limit;
    }
    // Returns whether the member's chunk begins where header or index lie.
    [[nodiscard]] bool BeginsInside(std::size_t i) const {
        const std::uint64_t start = Start(i);
        return start < contents_.headerEnd ||
               (start >= contents_.header.indexOffset && start < contents_.indexEnd);
    }
    // Returns where the gap before member `next` starts: the end of the member before it, or of the
    // header. If that end cannot be trusted, returns the start of `next`: there is no gap to judge.
    [[nodiscard]] std::uint64_t GapStart(std::size_t next) const {
        const std::uint64_t end = next < Count() ? Start(next) : contents_.fileSize;
        if (next == 0) return std::min(contents_.headerEnd, end);
        const std::uint64_t dataEnd = (*this)[next - 1].DataEnd();
        return dataEnd <= end && !BeginsInside(next - 1) ? dataEnd : end;
    }

private:
    const Contents& contents_;
    std::vector<std::uint32_t> ordinals_;
};

// Hands out runs of neighbouring members. Any thread.
class CheckRuns {
public:
    explicit CheckRuns(const CheckOrder& order) : order_(order) {}

    // Returns the first member and the one past the last; an empty run when all are taken.
    [[nodiscard]] std::pair<std::size_t, std::size_t> Take() {
        const std::scoped_lock hold(lock_);
        const std::size_t first = next_;
        std::uint64_t bytes = 0;
        while (next_ < order_.Count() && bytes < kRunBytes) {
            bytes += kMemberPrefixSize + order_[next_++].storedSize;
        }
        return {first, next_};
    }

private:
    static constexpr std::uint64_t kRunBytes = 1048576;  // that a worker takes at a time

    const CheckOrder& order_;
    std::mutex lock_;
    std::size_t next_ = 0;
};

}  // namespace archive
