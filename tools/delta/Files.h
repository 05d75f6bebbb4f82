// The files of the two delta programs: reading an input whole, and writing an output atomically.
//
// A separate file layer, since these programs are built statically from the delta room alone,
// without platform/. POSIX only.
#pragma once

#include <string>
#include <vector>

#include "delta/Delta.h"

namespace delta {

// The bytes of an input file: read into memory, or mapped if it is large.
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

// Writes `content` to `path`: to a file beside it, which takes the name once it is whole and on the
// disk. An existing file is replaced, never written into, and only its permissions are kept.
// Refuses a folder, a device and a pipe. Throws ProgramError (CannotWrite) and leaves `path` as it
// was.
void WriteOutput(const std::string& path, Bytes content);

// Sets up the signals: one that ends the program removes the unfinished output first, a mapped
// input that shrinks ends the program with `faultLine` on standard error and exit code CannotRead,
// and passing a file-size limit is a write error. `faultLine` must live as long as the program.
void HandleSignals(const char* faultLine);

}  // namespace delta
