#include "kernel/PathBuffer.h"

#include <cstring>

#include "kernel/Exceptions.h"

namespace Vorn {

PathBuffer::PathBuffer(std::string_view text) { SetPath(*this, text); }

void SetPath(PathSpan buffer, std::string_view text) {
    if (text.size() >= buffer.size()) {
        throw FileEx("kernel/PathBuffer", __LINE__, "Path too long");
    }
    if (!text.empty()) std::memmove(buffer.data(), text.data(), text.size());
    buffer[text.size()] = '\0';
}

}  // namespace Vorn
