// A path as the kernel passes it about: at most 259 bytes and a NUL in a buffer of 260.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace Vorn {

inline constexpr std::size_t kMaxPath = 260;

// What the path helpers work on: its size is in its type.
using PathSpan = std::span<char, kMaxPath>;

class PathBuffer {
public:
    PathBuffer() noexcept = default;

    // Throws FileEx when `text` does not fit.
    explicit PathBuffer(std::string_view text);

    operator PathSpan() noexcept { return PathSpan(text_); }  // NOLINT(google-explicit-constructor)

    [[nodiscard]] const char* c_str() const noexcept { return text_.data(); }
    [[nodiscard]] std::string_view View() const noexcept { return {text_.data()}; }
    [[nodiscard]] bool Empty() const noexcept { return text_[0] == '\0'; }

private:
    std::array<char, kMaxPath> text_{};
};

// Copies `text` and a NUL into `buffer`: the one place where a path enters a buffer. Throws FileEx
// when it does not fit, and leaves the buffer as it was.
void SetPath(PathSpan buffer, std::string_view text);

}  // namespace Vorn
