#include "archive/Tree.h"

#include <algorithm>
#include <utility>

#include "archive/Error.h"

namespace archive {

void TreeReader::Read(std::span<std::byte> into, bool isLast) {
    const auto throwChanged = [] {
        throw Error(ErrorCode::CannotRead, "the file changed while it was read");
    };
    while (!into.empty()) {
        if (rest_.empty()) rest_ = Next();
        if (rest_.empty()) throwChanged();
        const std::size_t count = std::min(rest_.size(), into.size());
        std::ranges::copy(rest_.first(count), into.begin());
        into = into.subspan(count);
        rest_ = rest_.subspan(count);
    }
    if (isLast && (!std::exchange(rest_, {}).empty() || !Next().empty())) throwChanged();
}

}  // namespace archive
