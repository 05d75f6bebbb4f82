// List members of patches: any bytes are read, and what was read is written and read the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "converter/PatchLists.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    MemberMap single;
    ParseList(text, 1, single);
    MemberMap again;
    ParseList(FormatList(single), 1, again);
    Require(single == again);

    MemberMap pairs;
    ParseList(text, 2, pairs);
    for (const auto& [name, digests] : pairs) {
        const std::string_view first = FirstDigest(digests).View();
        Require(name.Length() > 0 && !first.empty());
        Require(digests.View().starts_with(first) && digests.View().back() == '\n');
    }
    return 0;
}
