// The progress line of the file that VArchive works on.
#pragma once

#include <cstdint>

namespace Vorn {

class FileProgress {
public:
    // Sets the size of the file being added, in bytes.
    void SetTotal(std::uint32_t bytes) { total_ = bytes; }
    // Ends the file's line, and starts the time of the next file.
    void FinishFile();

    // Prints how much of a member was written so far, at most every 200 ms. The long form adds the
    // speed.
    void ShowWritten(std::uint32_t bytesConsumed, std::uint32_t bytesWritten, bool longForm);

    // Flushes an unfinished line if standard output is a terminal.
    static void ShowNow();

private:
    std::uint32_t startTime_ = 0;   // when the file before was finished, in milliseconds
    std::uint32_t lastReport_ = 0;  // the last progress line, in milliseconds after startTime_
    std::uint32_t total_ = 0;
};

}  // namespace Vorn
