// Makes paths for temporary files that do not exist yet.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Vorn {

// Returns a path in `directory` (with a separator added if it lacks one) that does not exist:
// `preferredName` if that is free, else one of up to 100 names made of the prefix, eight random
// characters, a number and ".extension" if given. Does not create the file. If all of the names
// exist returns nullopt and writes a line to the log. Throws FileEx for a path of more than 259
// bytes. Any thread.
[[nodiscard]] std::optional<std::string> CreateTemporaryFilePath(
    std::string_view directory, std::string_view prefix, std::string_view extension,
    std::string_view preferredName = {});

// Returns the character for one random number: 0 to 9 or a to z.
[[nodiscard]] char TemporaryNameCharacter(std::uint32_t random);

}  // namespace Vorn
