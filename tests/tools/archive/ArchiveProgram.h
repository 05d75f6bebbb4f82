// The real archive program, run in a temporary folder.
#pragma once

#include "tests/support/Tests.h"

namespace Vorn::Testing {

using Names = std::vector<std::string>;
using Files = std::map<std::string, std::string>;  // contents by path

// How one run of the program ended.
struct Outcome {
    int exitCode = -1;     // 128 + n for a run ended by signal n
    std::string printed;   // standard output
    std::string problems;  // standard error
};

// Returns how often `text` occurs in `whole`.
[[nodiscard]] std::size_t CountOf(std::string_view text, std::string_view whole);
// Returns every file below a folder. An empty folder is "name/"; a link's content is its target.
[[nodiscard]] Files FilesIn(const fs::path& folder);
[[nodiscard]] Names NamesIn(const Files& files);

class ArchiveProgram : public InFolder {
protected:
    // Runs the program with `words` of the shell. `before` comes before it on the command line.
    [[nodiscard]] Outcome Run(const std::string& words, const std::string& before = {}) const;
    // Runs it and expects success. Returns its standard output.
    std::string Do(const std::string& words) const;
    // Runs it and expects exit code 1.
    Outcome Fail(const std::string& words) const;
    void Write(const Files& files) const;
    // Returns the members of an archive as the program extracts them.
    [[nodiscard]] Files Unpack(const std::string& archive) const;

private:
    TempFolder output_;
};

}  // namespace Vorn::Testing
