// Identifies files that are not archives.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace va::tool {

struct OtherFile {
    std::string kind;  // "a compressed file", "a diff", "a description (text)", "a picture (PNG)"
    std::uint64_t size = 0;
    std::optional<std::uint64_t> content;  // decompressed size, or the size of a diff's result
    std::optional<std::uint64_t> old;      // size of the file that a diff was made from
};

// Identifies a regular file by its first bytes, and a description also by the ending of its name.
// Returns nullopt for an unknown kind. Does not check the content.
[[nodiscard]] std::optional<OtherFile> IdentifyFile(const std::string& path);

}  // namespace va::tool
