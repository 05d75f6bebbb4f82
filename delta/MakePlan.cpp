#include "delta/MakePlan.h"

#include <algorithm>
#include <array>

#include "delta/Streams.h"
#include "delta/Workspace.h"

namespace delta {
namespace {

// Up to this size the slowest level costs little.
constexpr std::uint64_t kSmallFile = 64U << 10;

constexpr int kQuickLevel = 3;

// Gives out what is left below a limit.
class Allowance {
public:
    explicit Allowance(std::uint64_t limit) : limit_(limit) {}

    // True, and taken, if so much is left.
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

// Finding segments, and coding them with models.
void PlanSegments(std::uint64_t oldSize, std::uint64_t newSize, Allowance& memory, MakePlan& plan) {
    // The shape is chosen for what the rest leaves; that depends on the shape by its key alone.
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
        // The context grows to the larger of the two needs.
        const int quick = std::min(level, kQuickLevel);
        const std::uint64_t need = std::max(Zstd::PackMemory(newSize, oldSize, level),
                                            Zstd::PackMemory(newSize, oldSize, quick));
        if (level > best || !memory.Take(need)) continue;
        plan.zstdLevel = level;
        plan.quickLevel = quick;
        return;
    }
}

}  // namespace

MakePlan PlanFor(std::uint64_t oldSize, std::uint64_t newSize, std::uint64_t memoryLimit) {
    MakePlan plan;
    Allowance memory(memoryLimit);
    const std::uint64_t room = newSize + kMostOverhead;
    if (!memory.Take(room + sizeof(Workspace::Parts))) {
        throw Error(ErrorKind::OutOfMemory,
                    "the memory limit is below the size of the new content");
    }
    // Whatever is tried needs a room beside the one of the best so far.
    if (memory.Take(room)) {
        PlanSegments(oldSize, newSize, memory, plan);
        PlanZstd(oldSize, newSize, memory, plan);
        // Streams serve where the models would take too long, and not below.
        plan.streams = plan.index && newSize > MostModelledBytes(newSize) &&
                       memory.Take(SegmentStreams::Memory(newSize, plan.index->keySize));
    }
    plan.memory = memory.Taken();
    return plan;
}

}  // namespace delta
