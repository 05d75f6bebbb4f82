// Gets members of a compact patch ready to be coded.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "delta/OldIndex.h"
#include "delta/Segment.h"
#include "patch/Difference.h"
#include "patch/compact/Budget.h"
#include "patch/compact/Decoder.h"

namespace patch::compact {

[[nodiscard]] inline ByteView View(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// A member ready to be coded: what it takes copies from, and which.
struct Prepared {
    struct Part {
        std::uint64_t end = 0;      // in the content
        std::uint64_t sources = 0;  // bytes of `sources` that it sees
        std::vector<delta::Segment> segments{};
    };
    std::vector<std::byte> sources;
    std::vector<std::byte> content;
    std::vector<Part> parts;
};

// Serves one thread at a time. Borrows all that it is made with; `fresh` holds the numbers of the
// carried members in the new side.
class Preparer {
public:
    Preparer(const Difference& difference, const OldMembers& old, const std::vector<Number>& fresh,
             const Directory& directory, const Budget& budget);

    // Throws Error for a member that cannot be read.
    [[nodiscard]] Prepared Prepare(std::size_t carried);

private:
    void Append(const Input& side, archive::TreeReader& reader, Number number,
                std::vector<std::byte>& bytes) const;
    void AppendSources(std::size_t carried, std::vector<std::byte>& bytes);
    void FindSegments(ByteView sources, ByteView content, std::vector<delta::Segment>& segments);

    const Difference& difference_;
    const OldMembers& old_;
    const std::vector<Number>& fresh_;
    const Directory& directory_;
    const Budget& budget_;
    std::unique_ptr<archive::TreeReader> oldReader_;
    std::unique_ptr<archive::TreeReader> freshReader_;
    delta::OldIndex index_;
    std::vector<delta::Segment> found_;
};

}  // namespace patch::compact
