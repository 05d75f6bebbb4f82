// What a file is that is no archive.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace va::tool {

struct OtherFile {
    std::string kind;  // "a compressed file", "a diff", "a description (text)", "a picture (PNG)"
    std::uint64_t size = 0;
    std::optional<std::uint64_t> content;  // bytes that it expands to, or that a diff gives
    std::optional<std::uint64_t> old;      // bytes of the file that a diff was made from
};

// Returns what a regular file is by its first bytes, and a description by its ending as well;
// nullopt if that does not tell. Content is not judged.
[[nodiscard]] std::optional<OtherFile> IdentifyFile(const std::string& path);

}  // namespace va::tool
