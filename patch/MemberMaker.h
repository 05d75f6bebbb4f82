// Makes the members of a patch that carry content: diffs of changed members, and added ones.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive/PackedMember.h"
#include "delta/Delta.h"
#include "patch/Difference.h"

namespace patch {

// What packing a content of the new archive again gives.
struct Remade {
    bool same = false;          // the stored bytes that the new archive has
    std::optional<bool> saves;  // of a plain member: whether compressing saves enough, if asked
};

// A carried member as it was made.
struct MadeMember {
    archive::PackedMember packed;  // as the patch stores it
    std::string oldMd5;            // as the lists have them
    std::string newMd5;
    Sha256Digest oldDigest{};
    Sha256Digest newDigest{};
    Remade remade;  // if that was asked
};

struct MakerLimits {
    bool diffs = true;                       // else only what is to be known is found out
    bool prove = true;                       // rebuild every member and compare
    bool digests = true;                     // SHA-256 as well
    bool remake = false;                     // pack as the new archive does, and compare
    bool saves = false;                      // find out whether compressing plain ones saves enough
    std::uint64_t memory = delta::kNoLimit;  // bytes for one member
};

// Serves one thread at a time. Borrows the sides.
class MemberMaker {
public:
    MemberMaker(const Input& old, const Input& fresh, const MakerLimits& limits);

    // Throws Error for a member that cannot be read, or does not come out of its diff as it was.
    [[nodiscard]] MadeMember Make(const Carried& member);

    // Packs an unchanged member as the new archive stores it, and compares. Throws Error if it
    // cannot be read.
    [[nodiscard]] Remade Remake(Number fresh);

private:
    [[nodiscard]] MadeMember Learn(const Carried& member);
    void Prove(const Carried& member, std::span<const std::byte> diff);
    [[nodiscard]] Remade RemakeContent(Number fresh, const archive::PackedMember* stream) const;
    [[nodiscard]] bool StoresStream(const archive::Member& member,
                                    const archive::PackedMember* stream) const;
    [[nodiscard]] std::uint64_t StreamSize(const archive::PackedMember* stream) const;
    void ProvePacked(const Carried& member, std::span<const std::byte> payload,
                     const archive::PackedMember& packed) const;

    const Input& old_;
    const Input& fresh_;
    const MakerLimits limits_;
    std::unique_ptr<archive::TreeReader> oldReader_;
    std::unique_ptr<archive::TreeReader> freshReader_;
    std::vector<std::byte> oldContent_;
    std::vector<std::byte> newContent_;
    delta::Workspace workspace_;
};

}  // namespace patch
