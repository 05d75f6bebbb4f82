#include "assetdata/TagNames.h"

#include <algorithm>

#include "kernel/Paths.h"

namespace Vorn {

std::string FoldTagName(std::string_view name) {
    std::string folded(name.substr(0, kMostWrittenName));
    std::ranges::transform(folded, folded.begin(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte <= 32 || byte >= 128 ? '_' : AsciiToLower(c);
    });
    return folded;
}

}  // namespace Vorn
