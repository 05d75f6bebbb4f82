// Identifiers are read from arbitrary bytes as the literal version reads them, and a written
// identifier reads back as the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "assetdata/KUID.h"
#include "tests/assetdata/LiteralKUID.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (const bool strict : {false, true}) {
        const Vorn::KUID kuid = Vorn::KUID::Parse(text, strict);
        Require(kuid == Vorn::Literal::ParseKUID(text.c_str(), strict));
        Require(kuid == Vorn::KUID::Parse(kuid.TagText(), false));
        Require(kuid.contentId < 0 || kuid == Vorn::KUID::Parse(kuid.TagText(), true));
        const Vorn::KUID packed = Vorn::KUID::FromPair(kuid.ToPair());
        Require(packed.contentId == kuid.contentId && packed.version == kuid.version);
    }
    return 0;
}
