#include "patch/Sums.h"

#include <algorithm>
#include <tuple>

#include "archive/Names.h"

namespace patch {
namespace {

constexpr std::uint64_t kSpotMask = (std::uint64_t{1} << 8 * Spots::kSpotBytes) - 1;

// Returns how a byte of a name is escaped; empty for most.
std::string EscapeOf(char c) {
    if (c == '\\') return "\\\\";
    if (c == '\n') return "\\n";
    if (c == '\r') return "\\r";
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) return {};
    return {'\\', 'x', static_cast<char>('0' + byte / 16), "0123456789abcdef"[byte % 16]};
}

}  // namespace

std::string FormatSum(const Sum& sum) {
    std::string name;
    bool escaped = false;
    for (const char c : sum.name) {
        const std::string escape = EscapeOf(c);
        escaped = escaped || !escape.empty();
        if (escape.empty()) {
            name += c;
        } else {
            name += escape;
        }
    }
    return (escaped ? "\\" : "") + ToHex(sum.digest) + "  " + name + "\n";
}

void SortSums(std::span<Sum> sums) {
    std::ranges::sort(sums, [](const Sum& a, const Sum& b) {
        return std::tie(a.name, a.digest) < std::tie(b.name, b.digest);
    });
}

Sha256Digest DigestOfSide(std::vector<Sum> sums) {
    SortSums(sums);
    Sha256 digest;
    for (const Sum& sum : sums) digest.Update(FormatSum(sum));
    return digest.Finish();
}

std::size_t Spots::SpotOf(std::string_view storedName) {
    // The folded name: the sides may spell a name in different letter case.
    return std::to_integer<std::size_t>(Sha256Of(archive::FoldName(storedName))[0]);
}

void Spots::Add(std::string_view storedName, const Sha256Digest& digest) {
    // The name is part of it, so that contents that were exchanged show, and so does a name whose
    // letter case was changed.
    Sha256 both;
    both.Update(digest);
    both.Update(storedName);
    const Sha256Digest value = both.Finish();
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < kSpotBytes; ++i) {
        number = number << 8 | std::to_integer<std::uint64_t>(value[i]);
    }
    const std::size_t spot = SpotOf(storedName);
    Set(spot, sums_[spot] + number);
}

void Spots::Join(const Spots& other) {
    for (std::size_t i = 0; i < kCount; ++i) Set(i, sums_[i] + other.sums_[i]);
}

void Spots::Set(std::size_t spot, std::uint64_t value) { sums_[spot] = value & kSpotMask; }

}  // namespace patch
