// Completion of a command line of va, by the table of commands and by what the words name: files,
// folders, and members of archives.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace va::tool {

// What the last word can become. A candidate that ends in '/', ':' or '=' is to be continued.
struct Candidate {
    std::string word;
    std::string meaning{};  // empty if the word tells enough
};

// Returns the candidates for the last of `words`, which stand after the program's name, by word and
// each once. The words need not make a command that could run. Reads folders and the indexes of
// archives; what cannot be read has no candidates.
[[nodiscard]] std::vector<Candidate> Completions(std::span<const std::string> words);

}  // namespace va::tool
