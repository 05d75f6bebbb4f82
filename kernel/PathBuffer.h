// The kernel's path buffer: at most 259 bytes and a NUL.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace Vorn {

inline constexpr std::size_t kMaxPath = 260;

// The parameter type of the path helpers, which has the size in its type.
using PathSpan = std::span<char, kMaxPath>;

class PathBuffer {
public:
    PathBuffer() noexcept = default;

    // Throws FileEx if `text` does not fit.
    explicit PathBuffer(std::string_view text);

    operator PathSpan() noexcept { return PathSpan(text_); }  // NOLINT(google-explicit-constructor)

    [[nodiscard]] const char* c_str() const noexcept { return text_.data(); }
    [[nodiscard]] std::string_view View() const noexcept { return {text_.data()}; }
    [[nodiscard]] bool Empty() const noexcept { return text_[0] == '\0'; }

private:
    std::array<char, kMaxPath> text_{};
};

// Copies `text` and a NUL into `buffer`. All writes of paths to buffers go through here. Throws
// FileEx and leaves the buffer unchanged if the text does not fit.
void SetPath(PathSpan buffer, std::string_view text);

}  // namespace Vorn
