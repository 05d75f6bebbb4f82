#include "patch/MemberMemory.h"

namespace patch {
namespace {

// Bounds of what delta::ApplyDelta takes beside the result. The proof's diff is not made yet, so
// its method is not known; the tables of the costliest one grow with the content up to a fixed
// size.
constexpr std::uint64_t kMostToApply = 70U << 20;
constexpr std::uint64_t kSmallMember = 1U << 20;
constexpr std::uint64_t kSmallFactor = 4;

// A stream's block headers are 2 bytes in 16,384, so a thousandth covers them.
constexpr std::uint64_t kPackedShare = 1024;

}  // namespace

// Contents, what Pack makes of the payload, and what is rebuilt for the proof.
std::uint64_t MemberMemory::BesideDiff(const Carried& member) const {
    const std::uint64_t size = fresh_.tree[member.fresh].size;
    const std::uint64_t contents = size + (member.old ? old_.tree[*member.old].size : 0);
    const std::uint64_t packed = size + size / kPackedShare + delta::kMostOverhead;
    std::uint64_t proof = 0;
    if (member.old && limits_.prove) {
        proof = size + (size < kSmallMember ? kSmallFactor * size : kMostToApply);
    }
    return contents + packed + proof;
}

delta::Options MemberMemory::DeltaOptions(const Carried& member) const {
    if (limits_.memory == delta::kNoLimit) return {};
    return {.memoryLimit = limits_.memory - BesideDiff(member)};
}

std::uint64_t MemberMemory::Least(const Carried& member) const {
    // With too little memory for an index of the old content, a diff stores the new one as it is.
    const std::uint64_t diff =
        member.old ? fresh_.tree[member.fresh].size + delta::kMostOverhead : std::uint64_t{0};
    return BesideDiff(member) + diff;
}

std::uint64_t MemberMemory::ToMake(const Carried& member) const {
    const std::uint64_t beside = BesideDiff(member);
    if (!member.old) return beside;
    return beside + delta::MemoryToMake(old_.tree[*member.old].size, fresh_.tree[member.fresh].size,
                                        DeltaOptions(member));
}

}  // namespace patch
