#include "tests/tools/archive/ArchiveProgram.h"

#include <fstream>
#include <iterator>

namespace Vorn::Testing {

std::size_t CountOf(std::string_view text, std::string_view whole) {
    std::size_t count = 0;
    for (auto at = whole.find(text); at != std::string_view::npos; at = whole.find(text, at + 1)) {
        ++count;
    }
    return count;
}

Files FilesIn(const fs::path& folder) {
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().lexically_relative(folder).string();
        if (entry.is_symlink()) {
            files[name] = "-> " + fs::read_symlink(entry.path()).string();
        } else if (!entry.is_directory()) {
            std::ifstream file(entry.path(), std::ios::binary);
            files[name].assign(std::istreambuf_iterator<char>(file), {});
        } else if (fs::is_empty(entry.path())) {
            files[name + "/"] = "";
        }
    }
    return files;
}

Names NamesIn(const Files& files) {
    Names names;
    for (const auto& [name, content] : files) names.push_back(name);
    return names;
}

Outcome ArchiveProgram::Run(const std::string& words, const std::string& before) const {
    const int exitCode = Shell(before + " " VARCHIVE " " + words + " >" + output_.Path("out") +
                               " 2>" + output_.Path("err"));
    return {exitCode, output_.Read("out"), output_.Read("err")};
}

std::string ArchiveProgram::Do(const std::string& words) const {
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.exitCode, 0) << words << "\n" << outcome.printed << outcome.problems;
    EXPECT_EQ(outcome.problems, "") << words;
    return outcome.printed;
}

Outcome ArchiveProgram::Fail(const std::string& words) const {
    Outcome outcome = Run(words);
    EXPECT_EQ(outcome.exitCode, 1) << words << "\n" << outcome.printed << outcome.problems;
    return outcome;
}

void ArchiveProgram::Write(const Files& files) const {
    for (const auto& [name, content] : files) folder.Write(name, content);
}

Files ArchiveProgram::Unpack(const std::string& archive) const {
    const TempFolder unpacked;
    const Outcome outcome =
        Run("-r -k e " + folder.Path(archive), "cd " + unpacked.Path() + " && exec");
    // A run that was stopped while it added may have overwritten the index and not the header.
    const char* lostIndex = "the index that its header names is missing";
    const bool whole = outcome.exitCode == 0 || CountOf(lostIndex, outcome.problems) == 1;
    EXPECT_TRUE(whole) << outcome.printed << outcome.problems;
    EXPECT_LE(CountOf("\n", outcome.problems), 1U) << outcome.problems;
    return FilesIn(unpacked.Path());
}

}  // namespace Vorn::Testing
