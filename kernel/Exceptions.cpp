#include "kernel/Exceptions.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace Vorn {
namespace {

constexpr std::string_view kNoCallStack = "No call stack available\r\n";

}  // namespace

Exception::Exception(const char* file, int line) : line_(line), file_(file) {
    std::ranges::copy(kNoCallStack, callStack_.begin());
}

Exception::Exception(const char* file, int line, const char* reason) : Exception(file, line) {
    if (!reason) return;
    const std::string_view text(reason);
    std::ranges::copy(text.substr(0, reason_.size() - 1), reason_.begin());
}

void Exception::FormatReason(const char* format, std::va_list arguments) {
    if (std::vsnprintf(reason_.data(), reason_.size(), format, arguments) < 0) reason_[0] = '\0';
}

FileEx FileEx::Formatted(const char* file, int line, const char* format, ...) {
    FileEx exception(file, line);
    std::va_list arguments;
    va_start(arguments, format);
    exception.FormatReason(format, arguments);
    va_end(arguments);
    return exception;
}

}  // namespace Vorn
