// List members of patches: arbitrary bytes are read, and a list is the same after it is written and
// read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "patch/Lists.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const patch::List single = patch::ParseList(text, 1);
    Require(patch::ParseList(patch::FormatList(single), 1) == single);

    const patch::List pairs = patch::ParseList(text, 2);
    Require(patch::ParseList(patch::FormatList(pairs), 2) == pairs);
    for (const auto& [name, digests] : pairs) {
        const std::string_view old = patch::OldDigest(digests);
        Require(!name.empty() && !old.empty() && old.size() + 1 < digests.size());
    }
    return 0;
}
