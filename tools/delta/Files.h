// The files of the two delta programs: reading an input whole, and writing an output atomically.
//
// A separate file layer, because these programs are linked statically from delta/ alone, without
// platform/. POSIX only.
#pragma once

#include <string>
#include <vector>

#include "delta/Delta.h"

namespace delta {

// Holds the bytes of an input file: read into memory, or mapped if the file is large.
class InputFile {
public:
    // Reads or maps the file. Throws ProgramError (CannotRead, TooLarge).
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

// Writes `content` to a temporary file beside `path`, which is renamed to `path` once it is
// complete and on the disk. An existing file is replaced, never written into; the new one gets its
// permissions. Refuses a folder, a device and a pipe. On failure throws ProgramError (CannotWrite)
// and leaves `path` unchanged.
void WriteOutput(const std::string& path, Bytes content);

// Installs the signal handlers: a signal that ends the program removes the unfinished output first;
// a mapped input that shrinks ends the program with `faultLine` on standard error and exit code
// CannotRead; passing a file-size limit becomes a write error. `faultLine` must live as long as the
// program.
void HandleSignals(const char* faultLine);

}  // namespace delta
