// Paths for temporary files that do not exist yet.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Vorn {

// A path in `directory` (a separator is put between where it ends in none) that nothing exists
// under: `preferredName` when that is free, else one of up to 100 names made of the prefix, eight
// random characters, a number and ".extension" where one is given. Nothing, and a line in the log,
// when all of them exist. The file is not created. Throws FileEx for a path of more than 259
// bytes. Any thread.
[[nodiscard]] std::optional<std::string> CreateTemporaryFilePath(
    std::string_view directory, std::string_view prefix, std::string_view extension,
    std::string_view preferredName = {});

// The character for one random number: 0 to 9 and a to z.
[[nodiscard]] char TemporaryNameCharacter(std::uint32_t random);

}  // namespace Vorn
