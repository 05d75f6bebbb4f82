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

// Returns what a regular file is by its first bytes, and a description by its ending as well.
// Does not judge the content. Returns nullopt for an archive, whole or damaged, a folder, and a
// file that cannot be read. Throws Error (Refused) for a file of an unknown kind.
[[nodiscard]] std::optional<OtherFile> IdentifyFile(const std::string& path);

}  // namespace va::tool
