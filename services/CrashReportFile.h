// The report's way to its file. For fault filters: allocates nothing, locks nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/FaultTools.h"

namespace Vorn {

// Gathers text in a buffer of 7,168 characters; about 8 KiB large.
class CrashReportFile {
public:
    // Replaces an existing file. What is written is on the storage device when Flush returns.
    [[nodiscard]] bool Create(const char* path) { return file_.Create(path, true); }

    // Formats printf-style, at most 1,024 characters of it; no floating point, no widths beyond a
    // line, for which the C library would allocate.
    void Print(const char* format, ...) __attribute__((format(printf, 2, 3)));

    void Flush();

private:
    static constexpr std::size_t kBufferSize = 7168;
    static constexpr std::size_t kLongestText = 1024;

    platform::FaultFile file_;
    std::uint64_t position_ = 0;
    std::array<char, kBufferSize + kLongestText + 1> buffer_;
    std::size_t length_ = 0;
};

}  // namespace Vorn
