// The text of the crash report: what is printed about a fault, in which order.
//
// For fault filters: nothing here allocates or locks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/Faults.h"
#include "services/CrashReportFile.h"

namespace Vorn {

// A text in static storage: a faulted thread must not allocate.
template <std::size_t Longest>
class FixedText {
public:
    void Set(std::string_view text) { text_[text.copy(text_.data(), Longest)] = '\0'; }
    [[nodiscard]] const char* Get() const { return text_.data(); }

private:
    std::array<char, Longest + 1> text_{};
};

// What the report says about the program. Found before a fault, which could not ask for it.
struct CrashedProgram {
    static constexpr std::size_t kLongestPath = 518;

    FixedText<kLongestPath> path;
    FixedText<kLongestPath> name;
    FixedText<256> user;
    std::int64_t utcOffset = 0;  // seconds
};

// Prints everything but the last line.
void PrintCrashReport(CrashReportFile& report, const platform::Fault& fault,
                      const CrashedProgram& program);

// Returns what follows the last separator of a path.
[[nodiscard]] std::string_view FileNameOf(std::string_view path);

}  // namespace Vorn
