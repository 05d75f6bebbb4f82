#include "delta/Delta.h"

#include <algorithm>
#include <new>
#include <utility>

#include "delta/Apply.h"
#include "delta/Make.h"

namespace delta {
namespace {

ByteView FromBytes(Bytes bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// Calls `work` and replaces std::bad_alloc by Error (OutOfMemory).
template <typename Work>
auto Guarded(Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        throw Error(ErrorKind::OutOfMemory, "out of memory");
    }
}

MakePlan CheckedPlan(std::uint64_t oldSize, std::uint64_t newSize, const Options& options) {
    if (std::max(oldSize, newSize) > kMaxSize) {
        throw Error(ErrorKind::TooLarge, "a file has 4 GiB or more");
    }
    return PlanFor(oldSize, newSize, options.memoryLimit);
}

}  // namespace

Workspace::Workspace() : parts_(std::make_unique<Parts>()) {}
Workspace::~Workspace() = default;
Workspace::Workspace(Workspace&&) noexcept = default;
Workspace& Workspace::operator=(Workspace&&) noexcept = default;

std::uint64_t Workspace::MemoryHeld() const {
    return sizeof(Parts) + parts_->index.MemoryHeld() +
           parts_->segments.capacity() * sizeof(Segment) + parts_->models.MemoryHeld() +
           parts_->zstd.MemoryHeld() + parts_->best.Capacity() + parts_->trial.Capacity() +
           parts_->applied.Capacity();
}

void Workspace::Release() { parts_ = std::make_unique<Parts>(); }

Bytes MakeDelta(Bytes oldContent, Bytes newContent, Workspace& workspace, const Options& options) {
    return Guarded([&] {
        const MakePlan plan = CheckedPlan(oldContent.size(), newContent.size(), options);
        // Buffers kept from earlier, larger pairs count towards the limit as well.
        if (workspace.MemoryHeld() > options.memoryLimit - plan.memory) workspace.Release();
        return std::as_bytes(
            Make(FromBytes(oldContent), FromBytes(newContent), workspace.Get(), plan));
    });
}

std::uint64_t MemoryToMake(std::uint64_t oldSize, std::uint64_t newSize, const Options& options) {
    return Guarded([&] { return CheckedPlan(oldSize, newSize, options).memory; });
}

DeltaInfo InspectDelta(Bytes diff) {
    return Guarded([&] {
        const Header header = Parse(FromBytes(diff)).header;
        return DeltaInfo{header.oldSize, header.newSize, header.oldCheck, header.check,
                         MemoryToApply(header)};
    });
}

Bytes ApplyDelta(Bytes oldContent, Bytes diff, Workspace& workspace, std::uint64_t sizeLimit) {
    return Guarded([&] {
        return std::as_bytes(
            Apply(FromBytes(oldContent), FromBytes(diff), workspace.Get(), sizeLimit));
    });
}

}  // namespace delta
