// A folder with a copy of the staged programs, archives to convert, and the real converter.
//
// Names are relative to the folder, which is also the converter's current directory.
#pragma once

#include "tests/support/Tests.h"

namespace Vorn::Testing {

using Members = std::vector<std::pair<std::string, std::string>>;  // in the order of writing
using Content = std::map<std::string, std::string>;                // what an archive holds
using Arguments = std::vector<std::string>;
using Lines = std::vector<std::string>;

// How one run of a program ended.
struct Outcome {
    int exitCode = -1;     // 128 + n for a run ended by signal n
    Lines lines;           // of standard output
    std::string problems;  // standard error
};

class Workbench : public testing::Test {
protected:
    // Stages the programs below `programs`.
    explicit Workbench(const std::string& programs = "app");

    // Writes a new archive; members longer than 1,024 bytes are compressed.
    void Pack(const std::string& archive, const Members& members) const;
    // "old.va" and "new.va".
    void PackPair(const Members& before, const Members& after) const;
    // Every member that can be reached by its name.
    [[nodiscard]] Content Unpack(const std::string& archive) const;
    // Both archives are there and hold the same.
    void ExpectSameContent(const std::string& archive, const std::string& other) const;

    // Runs the converter. `tracer` stands before it on the command line.
    [[nodiscard]] Outcome Convert(const Arguments& arguments, const std::string& tracer = {}) const;
    [[nodiscard]] Outcome Diff() const { return Convert({"patchdiff", "old.va", "new.va", "out"}); }
    [[nodiscard]] Outcome Apply(const std::string& patch = "out/old-diff.va") const {
        return Convert({"patchapply", "old.va", patch, "unread"});
    }

    // Puts a shell script in the place of a staged program; without text the program is gone.
    void Replace(const std::string& program, const std::string& script) const;
    // Makes it a file system of its own with room for `bytes` besides what it holds now.
    [[nodiscard]] bool MakeSmallDisk(const std::string& name, std::size_t bytes);
    void ReleaseDisks();
    void TearDown() override { ReleaseDisks(); }

    // Every file below `name`, in order; "name/" for an empty folder.
    [[nodiscard]] std::vector<std::string> Tree(const std::string& name = {}) const;

    TempFolder folder_;
    const std::string bin_;   // the converter's folder
    const std::string diff_;  // the diff program

private:
    std::vector<std::string> disks_;
};

}  // namespace Vorn::Testing
