// The lines of an argument file, each a command line. The file is 8-bit text, or UTF-16 with a
// byte-order mark, whose lines are converted to the ANSI code page. A UTF-8 mark is skipped. A
// compressed file is read as its content.
#pragma once

#include <array>
#include <cstdint>

#include "KernelStandard/File.h"

namespace Vorn {

class ArgumentFile {
public:
    // Opens the file. False if it cannot be read or has 4 GiB or more.
    [[nodiscard]] bool Open(const char* name);

    // Returns the next line, its end included; null at the end of the file. Valid until the next
    // call.
    [[nodiscard]] const char* NextLine();
    // Returns whether the line had more than the 1,022 bytes that are kept.
    [[nodiscard]] bool LineWasCut() const { return cut_; }
    // Returns, after the last line, whether that was the end of the file and not a read error.
    [[nodiscard]] bool WasReadWhole() const { return !file_.ReadFailed(); }

private:
    static constexpr std::uint32_t kLineSize = 1024;

    void DetectEncoding();
    std::uint32_t ReadSwappedLine();

    File file_;
    std::array<char, kLineSize> line_{};
    bool swapped_ = false;  // UTF-16, the high byte of each unit first
    bool cut_ = false;
};

}  // namespace Vorn
