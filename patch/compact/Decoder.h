// Gives the contents of carried members back, one after another.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "archive/Tree.h"
#include "delta/Buffer.h"
#include "patch/compact/ContentCodec.h"
#include "patch/compact/Directory.h"

namespace patch::compact {

// The most room that is made for sources before they are read: their sizes are only claims then,
// and a vector that doubles would take up to three times what it holds.
inline constexpr std::uint64_t kMostReserved = std::uint64_t{1} << 30;

// The members of the old side by their places.
struct OldMembers {
    const archive::Tree& tree;
    std::vector<std::size_t> numbers;  // in the tree, by place

    // Sorts those members by name.
    OldMembers(const archive::Tree& side, std::vector<std::size_t> members);

    [[nodiscard]] archive::TreeMember operator[](Place place) const { return tree[numbers[place]]; }
};

// Where a member's parts end. One that repeats itself is coded in parts, each as long as all before
// it, which are a source of it.
[[nodiscard]] std::vector<std::uint64_t> PartEnds(std::uint64_t bytes, bool repeats);

// Carried contents are sources of later members as long as all of them since then are together no
// longer than this, so that a decoder need not keep more.
inline constexpr std::uint64_t kMostKept = std::uint64_t{64} << 20;

// Bytes of the content of a carried member, and of all that it takes copies from. The sizes are
// claims of the directory until Decoder has judged them.
[[nodiscard]] std::uint64_t ContentBytes(const Directory& directory, const OldMembers& old,
                                         std::size_t carried);
[[nodiscard]] std::uint64_t SourceBytes(const Directory& directory, const OldMembers& old,
                                        std::size_t carried);

class Decoder {
public:
    // Borrows both. Throws delta::Error (Damaged) where they do not fit each other.
    Decoder(const Directory& directory, const OldMembers& old);

    // The most that Decode holds at a time, beside a fixed amount.
    [[nodiscard]] std::uint64_t Memory() const;

    // The old content is that of a changed member, else empty.
    using Take = std::function<void(std::size_t carried, ByteView old, ByteView content)>;

    // Decodes the next `count` members from the bytes of their section. Throws delta::Error
    // (Damaged), archive::Error, and what `take` throws.
    void Decode(ByteView coded, std::uint64_t count, const Take& take);

private:
    struct Kept {
        std::size_t carried;
        ByteBuffer content;
    };

    void AppendOld(Place place);
    void AppendCarried(std::size_t carried);
    void Gather(std::size_t carried);
    void Keep(std::size_t carried, ByteView content);

    const Directory& directory_;
    const OldMembers& old_;
    std::unique_ptr<archive::TreeReader> reader_;
    std::unique_ptr<ContentModels> models_;
    std::size_t next_ = 0;
    bool keeps_ = false;
    std::deque<Kept> kept_;
    std::uint64_t keptBytes_ = 0;
    ByteBuffer sources_;
    delta::Buffer content_;
};

}  // namespace patch::compact
