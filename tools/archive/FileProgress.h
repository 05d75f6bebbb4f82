// The progress line of the file that VArchive works on.
#pragma once

#include <cstdint>

namespace Vorn {

class FileProgress {
public:
    // Sets the size of the file being added, in bytes.
    void SetTotal(std::uint32_t bytes) { total_ = bytes; }
    // Ends the file's line; the next file's time starts now.
    void FinishFile();

    // Prints how much of a member has been written, at most every 200 ms. The long form has the
    // speed.
    void ShowWritten(std::uint32_t bytesConsumed, std::uint32_t bytesWritten, bool longForm);

    // Flushes an unfinished line if standard output is a terminal.
    static void ShowNow();

private:
    std::uint32_t startTime_ = 0;   // milliseconds: when the file before was finished
    std::uint32_t lastReport_ = 0;  // milliseconds from then to the last progress line
    std::uint32_t total_ = 0;
};

}  // namespace Vorn
