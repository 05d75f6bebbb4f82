// Reading whole contents of a tree: digests of them, and the bytes.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "archive/Tree.h"
#include "patch/Digest.h"
#include "patch/Meter.h"

namespace patch {

// Returns one reader for each worker thread, at least one.
[[nodiscard]] std::vector<std::unique_ptr<archive::TreeReader>> NewReaders(
    const archive::Tree& tree, unsigned threads);

// Returns the content of a member. Throws archive::Error. Memory grows with what is read, not with
// what the member claims.
[[nodiscard]] std::vector<std::byte> ReadContent(archive::TreeReader& reader,
                                                 const archive::Tree& tree, std::size_t member);

// Reads a member to its end, so that its check sum is compared. Throws archive::Error.
[[nodiscard]] Digest DigestContent(archive::TreeReader& reader, std::size_t member, DigestKind kind,
                                   Meter& meter);

// Reads without a digest.
void ReadThrough(archive::TreeReader& reader, std::size_t member, Meter& meter);

}  // namespace patch
