#include "kernel/FormatText.h"

#include <cstdio>

namespace Vorn {
namespace {

constexpr std::size_t kFirstHeapSize = 32768;
constexpr std::size_t kHeapLimit = 134217728;

}  // namespace

FormattedText::FormattedText(const char* format, std::va_list arguments) {
    std::va_list again;  // the first pass uses `arguments` up
    va_copy(again, arguments);
    const int needed = std::vsnprintf(stack_.data(), stack_.size(), format, arguments);
    const std::size_t length = needed < 0 ? 0 : static_cast<std::size_t>(needed);
    std::size_t size = kFirstHeapSize;
    while (size <= length) size *= 4;
    if (length < stack_.size()) {
        length_ = length;
    } else if (size < kHeapLimit) {
        heap_ = std::make_unique<char[]>(size);
        (void)std::vsnprintf(heap_.get(), size, format, again);
        length_ = length;
    }
    va_end(again);
}

}  // namespace Vorn
