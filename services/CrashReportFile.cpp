#include "services/CrashReportFile.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <span>

namespace Vorn {

void CrashReportFile::Print(const char* format, ...) {
    if (length_ > kBufferSize) Flush();
    std::va_list arguments;
    va_start(arguments, format);
    const int length =
        std::vsnprintf(buffer_.data() + length_, kLongestText + 1, format, arguments);
    va_end(arguments);
    length_ += std::min(static_cast<std::size_t>(std::max(length, 0)), kLongestText);
}

void CrashReportFile::Flush() {
    // A report that lacks a part is still worth having.
    (void)file_.WriteAt(position_, std::as_bytes(std::span(buffer_).first(length_)));
    position_ += length_;
    length_ = 0;
}

}  // namespace Vorn
