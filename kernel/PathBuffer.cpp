#include "kernel/PathBuffer.h"

#include <cstring>
#include <string>

#include "kernel/Exceptions.h"

namespace Vorn {

PathBuffer::PathBuffer(std::string_view text) { SetPath(*this, text); }

void SetPath(PathSpan buffer, std::string_view text) {
    if (text.size() >= buffer.size()) {
        const std::string start(text.substr(0, 160));
        throw FileEx::Formatted("kernel/PathBuffer", __LINE__,
                                "a path has %zu bytes, more than %zu: \"%s...\"", text.size(),
                                buffer.size() - 1, start.c_str());
    }
    if (!text.empty()) std::memmove(buffer.data(), text.data(), text.size());
    buffer[text.size()] = '\0';
}

}  // namespace Vorn
