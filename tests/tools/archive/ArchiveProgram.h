// The real archive program, in a folder of its own.
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

// The places of `text` in `whole`.
[[nodiscard]] std::size_t CountOf(std::string_view text, std::string_view whole);
// Every file below a folder; "name/" for an empty folder, and a link shows where it leads.
[[nodiscard]] Files FilesIn(const fs::path& folder);
[[nodiscard]] Names NamesIn(const Files& files);

class ArchiveProgram : public InFolder {
protected:
    // Runs the program with `words` of the shell. `before` stands before it on the command line.
    [[nodiscard]] Outcome Run(const std::string& words, const std::string& before = {}) const;
    // Runs it and nothing goes wrong; what it printed.
    std::string Do(const std::string& words) const;
    // Runs it, and its exit code tells that something went wrong.
    Outcome Fail(const std::string& words) const;
    void Write(const Files& files) const;
    // The members of an archive as the program extracts them.
    [[nodiscard]] Files Unpack(const std::string& archive) const;

private:
    TempFolder output_;
};

}  // namespace Vorn::Testing
