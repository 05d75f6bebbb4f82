// The buffered file of the crash report. For fault filters: it neither allocates nor locks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/FaultTools.h"
#include "platform/PrintfCheck.h"

namespace Vorn {

// Collects text in a buffer of 7,168 characters. An object takes about 8 KiB.
class CrashReportFile {
public:
    // Replaces an existing file. Text is on the storage device when Flush returns.
    [[nodiscard]] bool Create(const char* path) { return file_.Create(path, true); }

    // Appends at most 1,024 characters, printf-style. Use no floating point and no width beyond a
    // line: for those the C library would allocate.
    void Print(const char* format, ...) VORN_PRINTF(2, 3);

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
