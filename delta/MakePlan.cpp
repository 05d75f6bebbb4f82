#include "delta/MakePlan.h"

#include <algorithm>
#include <array>

#include "delta/Streams.h"
#include "delta/Workspace.h"

namespace delta {
namespace {

// Up to this size even the slowest level of zstd takes little time.
constexpr std::uint64_t kSmallFile = 64U << 10;

constexpr int kQuickLevel = 3;

// Counts memory that is planned, up to a limit.
class Allowance {
public:
    explicit Allowance(std::uint64_t limit) : limit_(limit) {}

    // Takes `size` bytes and returns true, or returns false if fewer are left.
    bool Take(std::uint64_t size) {
        if (size > Left()) return false;
        taken_ += size;
        return true;
    }
    [[nodiscard]] std::uint64_t Left() const noexcept { return limit_ - taken_; }
    [[nodiscard]] std::uint64_t Taken() const noexcept { return taken_; }

private:
    std::uint64_t limit_;
    std::uint64_t taken_ = 0;
};

// Plans the search for segments and their coding with models.
void PlanSegments(std::uint64_t oldSize, std::uint64_t newSize, Allowance& memory, MakePlan& plan) {
    // The index gets the memory that the other parts leave. They depend only on the key size of its
    // shape, which a limit does not change.
    const std::uint64_t models = SegmentModels::Memory(oldSize, newSize);
    const auto usual = OldIndex::ShapeFor(oldSize, kNoLimit);
    const std::uint64_t fixed = models + MostSegments(newSize, usual->keySize) * sizeof(Segment);
    if (fixed > memory.Left()) return;
    plan.index = OldIndex::ShapeFor(oldSize, memory.Left() - fixed);
    if (plan.index) memory.Take(fixed + OldIndex::Memory(oldSize, *plan.index));
}

void PlanZstd(std::uint64_t oldSize, std::uint64_t newSize, Allowance& memory, MakePlan& plan) {
    const int best = newSize <= kSmallFile ? 19 : 12;
    for (const int level : {best, 9, 6, kQuickLevel, 1}) {
        // Both levels share one context, which grows to the larger of their needs.
        const int quick = std::min(level, kQuickLevel);
        const std::uint64_t need = std::max(Zstd::PackMemory(newSize, oldSize, level),
                                            Zstd::PackMemory(newSize, oldSize, quick));
        if (level > best || !memory.Take(need)) continue;
        plan.zstdLevel = level;
        plan.quickLevel = quick;
        return;
    }
}

// Plans all methods. `memory` has room for the best diff so far already.
MakePlan PlanAmple(std::uint64_t oldSize, std::uint64_t newSize, Allowance& memory) {
    MakePlan plan;
    plan.room = newSize;
    // Each attempt needs a second buffer, since the best diff so far must stay.
    if (memory.Take(newSize + kMostOverhead)) {
        PlanSegments(oldSize, newSize, memory, plan);
        PlanZstd(oldSize, newSize, memory, plan);
        // Streams replace the models where those would take too long.
        plan.streams = plan.index && newSize > MostModelledBytes(newSize) &&
                       memory.Take(SegmentStreams::Memory(newSize, plan.index->keySize));
    }
    return plan;
}

// Plans the search in memory that a stored diff would need: the tables are released before the new
// content is stored. Only small payloads are tried, which is enough for content that changed in
// part.
MakePlan PlanThrifty(std::uint64_t oldSize, std::uint64_t newSize, Allowance& memory) {
    MakePlan plan;
    plan.sharesRoom = true;
    plan.room = MostModelledBytes(newSize);
    if (memory.Take(plan.room + kMostOverhead)) {
        PlanSegments(oldSize, newSize, memory, plan);
        PlanZstd(oldSize, newSize, memory, plan);
    }
    return plan;
}

}  // namespace

MakePlan PlanFor(std::uint64_t oldSize, std::uint64_t newSize, std::uint64_t memoryLimit) {
    const std::uint64_t least = sizeof(Workspace::Parts) + newSize + kMostOverhead;
    if (memoryLimit < least) {
        throw Error(ErrorKind::OutOfMemory,
                    "the memory limit is below the size of the new content");
    }
    Allowance ample(memoryLimit);
    (void)ample.Take(least);
    MakePlan plan = PlanAmple(oldSize, newSize, ample);
    plan.memory = ample.Taken();
    if (plan.index) return plan;
    Allowance thrifty(memoryLimit);
    (void)thrifty.Take(sizeof(Workspace::Parts));
    MakePlan sharing = PlanThrifty(oldSize, newSize, thrifty);
    if (!sharing.index) return plan;
    sharing.memory = std::max(least, thrifty.Taken());
    return sharing;
}

}  // namespace delta
