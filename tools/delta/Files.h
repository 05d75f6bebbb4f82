// The files of the two delta programs: reading an input whole, and writing an output atomically.
//
// A file layer apart from platform/, because these programs are built statically from the delta
// room alone. POSIX only.
#pragma once

#include <string>
#include <vector>

#include "delta/Delta.h"

namespace delta {

// The bytes of an input file: read into memory, or mapped when it is large.
class InputFile {
public:
    // Throws ProgramError (CannotRead, TooLarge).
    explicit InputFile(const std::string& path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    [[nodiscard]] Bytes Content() const noexcept { return bytes_; }

private:
    void Map(int descriptor, std::size_t size, const std::string& path);
    void ReadAll(int descriptor, std::size_t expectedSize, const std::string& path);

    std::vector<std::byte> buffer_;
    void* mapping_ = nullptr;
    Bytes bytes_;
};

// Makes `path` hold `content`. It is written to a file beside it, which takes the name once it is
// whole and on the disk; so whatever file had the name is replaced, never
// written into, and only its permissions are kept. Refuses a folder, a device and a pipe.
// Throws ProgramError (CannotWrite), and then `path` is what it was.
void WriteOutput(const std::string& path, Bytes content);

// From here on a signal that ends the program removes the unfinished output first, a mapped input
// that shrinks ends it with `faultLine` on standard error and exit code CannotRead, and a
// file-size limit is an error of writing. `faultLine` must live as long as the program.
void HandleSignals(const char* faultLine);

}  // namespace delta
