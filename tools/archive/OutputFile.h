// A file that gets its name when it is whole.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Files.h"

namespace Vorn {

// Writes a temporary file beside `path`, which is removed unless it takes that place.
class OutputFile {
public:
    OutputFile() = default;
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    [[nodiscard]] bool Open(const std::string& path);
    // The bytes written.
    [[nodiscard]] std::uint32_t Write(const void* bytes, std::uint32_t count);
    // False when the system did not take all of it.
    [[nodiscard]] bool Finish();
    // Takes the place if nothing is there.
    [[nodiscard]] bool Place();
    // Takes the place, and keeps the permissions, of the file that is there. A link is replaced,
    // not what it leads to.
    [[nodiscard]] bool Replace();

private:
    std::string path_;
    std::string temporary_;  // empty when there is none
    platform::FileHandle handle_;
};

}  // namespace Vorn
