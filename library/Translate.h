// From the rooms below to the words of the public headers: errors, names, check states.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "archive/Error.h"
#include "vaconverter/error.h"

namespace va {

// Returns a stored name in UTF-8, '/' between components.
[[nodiscard]] std::string PublicName(std::string_view stored);

// Returns the bytes of code page 1252 for a name in UTF-8; what has no counterpart becomes '?', and
// then matches no name.
[[nodiscard]] std::string StoredBytes(std::string_view name);

// The system's form of a path.
[[nodiscard]] std::string SystemPath(const std::filesystem::path& path);

[[nodiscard]] Error Translate(const archive::Error& error, const std::filesystem::path& path);

// Calls `work`; what the room below throws about the archive at `path` becomes Error.
template <typename Work>
auto Translated(const std::filesystem::path& path, Work work) -> decltype(work()) {
    try {
        return work();
    } catch (const archive::Error& error) {
        throw Translate(error, path);
    }
}

}  // namespace va
