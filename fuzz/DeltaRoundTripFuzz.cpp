// Applying a diff must give back the new content of any pair, and a used workspace must make the
// same diff as a new one. The first byte selects where the input is split into the old content and
// the new one, which starts with a piece of the old one so that there is something to copy.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "delta/Delta.h"

namespace {

std::vector<std::byte> Copy(delta::Bytes bytes) { return {bytes.begin(), bytes.end()}; }

void Require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static delta::Workspace used;
    if (size == 0) return 0;
    const delta::Bytes input = std::as_bytes(std::span(data + 1, size - 1));
    const delta::Bytes oldContent = input.first(input.size() * data[0] / 255);
    std::vector<std::byte> newContent = Copy(oldContent.subspan(oldContent.size() / 3));
    const delta::Bytes rest = input.subspan(oldContent.size());
    newContent.insert(newContent.end(), rest.begin(), rest.end());

    const std::vector<std::byte> diff = Copy(delta::MakeDelta(oldContent, newContent, used));
    delta::Workspace fresh;
    Require(std::ranges::equal(diff, delta::MakeDelta(oldContent, newContent, fresh)));
    Require(std::ranges::equal(newContent, delta::ApplyDelta(oldContent, diff, used)));

    // A diff made under a tight memory limit may be larger, but must be correct.
    const delta::Options tight{.memoryLimit = newContent.size() + (data[0] + 50U) * 2000U};
    try {
        const delta::Bytes small = delta::MakeDelta(oldContent, newContent, used, tight);
        Require(std::ranges::equal(newContent, delta::ApplyDelta(oldContent, small, used)));
    } catch (const delta::Error& error) {
        Require(error.Kind() == delta::ErrorKind::OutOfMemory);
    }
    return 0;
}
