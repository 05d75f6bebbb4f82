// Arbitrary bytes, decoded as a packed block, give the literal decoder's result or are refused, and
// never exceed the output buffer. Encoded as content, they give the literal encoder's bytes and
// decode to themselves.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "archive/BytePair.h"
#include "tests/archive/LiteralBytePair.h"

using namespace Vorn;

namespace {

using Bytes = std::vector<std::byte>;  // of exact size, so the sanitizer sees any access past it

void Require(bool holds) {
    if (!holds) std::abort();
}

void CheckExpand(const Bytes& packed, std::size_t room) {
    Bytes content(room);
    Bytes literal(room);
    const auto size = archive::ExpandBlock(content, packed);
    Require(size == Literal::ExpandBlock(literal, packed));
    if (size) {
        Require(
            std::equal(content.begin(), content.begin() + std::ptrdiff_t(*size), literal.begin()));
    }
}

void CheckCompress(const Bytes& content) {
    Bytes packed(content.size());
    Bytes literal(content.size());
    packed.resize(archive::CompressBlock(packed, content));
    literal.resize(Literal::CompressBlock(literal, content));
    Require(packed == literal);
    if (packed.size() == content.size()) return;
    Bytes back(content.size());
    Require(archive::ExpandBlock(back, packed) == content.size());
    Require(back == content);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kBlock = 16384;
    const auto bytes = std::as_bytes(std::span(data, std::min(size, kBlock)));
    const Bytes input(bytes.begin(), bytes.end());
    CheckExpand(input, kBlock);
    CheckExpand(input, 2 * input.size());
    CheckCompress(input);
    return 0;
}
