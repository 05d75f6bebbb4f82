// The lines of an argument file, each a command line: 8-bit text, or UTF-16 of either byte order
// with its mark, of which lines come in the ANSI code page. The mark of UTF-8 is passed over. A
// compressed file is read as its content.
#pragma once

#include <array>
#include <cstdint>

#include "KernelStandard/File.h"

namespace Vorn {

class ArgumentFile {
public:
    // False for a file that cannot be read, and for one of 4 GiB or more.
    [[nodiscard]] bool Open(const char* name);

    // The next line, its end included, until the one after it; null at the end of the file.
    [[nodiscard]] const char* NextLine();
    // Whether the line had more bytes than the 1,022 that are kept.
    [[nodiscard]] bool LineWasCut() const { return cut_; }
    // At the end: whether it was the file's, and not where reading failed.
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
