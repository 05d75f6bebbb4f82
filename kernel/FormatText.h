// printf-style formatting into a text of any reasonable length.
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <memory>
#include <string_view>

#include "platform/PrintfCheck.h"

namespace Vorn {

// Holds one formatted text. Results under 1,024 bytes stay on the stack; longer ones use a heap
// buffer of 32,768 bytes or 4, 16, 64, 256 or 1,024 times that. A result that fits none of these,
// or that the C library refuses to format, is the empty text.
class FormattedText {
public:
    FormattedText(const char* format, std::va_list arguments) VORN_PRINTF(2, 0);

    [[nodiscard]] std::string_view View() const noexcept {
        return {heap_ ? heap_.get() : stack_.data(), length_};
    }

private:
    std::array<char, 1024> stack_;
    std::unique_ptr<char[]> heap_;
    std::size_t length_ = 0;
};

}  // namespace Vorn
