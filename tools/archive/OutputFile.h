// A file that gets its name when it is whole.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Files.h"

namespace Vorn {

// Writes a file without a name in the folder of `path`, or under a temporary name where the system
// has no such files. It is removed unless it takes its place. Call Open, Write, then Place and,
// where something was there, Replace.
class OutputFile {
public:
    OutputFile() = default;
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    [[nodiscard]] bool Open(const std::string& path);
    // Returns the number of bytes written.
    [[nodiscard]] std::uint32_t Write(const void* bytes, std::uint32_t count);
    // Takes the place if nothing is there. False otherwise, and when the system did not take all
    // that was written.
    [[nodiscard]] bool Place();
    // Takes the place of the file that is there and keeps its permissions. Replaces a link, not
    // what it leads to.
    [[nodiscard]] bool Replace();

private:
    [[nodiscard]] std::string Folder() const { return path_.substr(0, path_.rfind('/') + 1); }
    [[nodiscard]] bool NameTemporarily();

    std::string path_;
    std::string temporary_;  // empty when the file has no name, or its final one
    bool failed_ = false;    // the system did not take everything
    platform::FileHandle handle_;
};

}  // namespace Vorn
