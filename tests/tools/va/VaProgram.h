// A folder, files and archives in it, and the real program run there.
#pragma once

#include "tests/support/Tests.h"

namespace Vorn::Testing {

struct Outcome {
    int exitCode = -1;  // 128 + n for a run ended by signal n
    std::string out;    // standard output
    std::string err;    // standard error
};

class VaProgram : public testing::Test {
protected:
    // Runs va in the folder. `before` is shell text that stands in front of it.
    [[nodiscard]] Outcome Va(const std::vector<std::string>& arguments,
                             const std::string& before = {}) const;

    // Writes an archive with one member.
    void Pack(const std::string& archive, const std::string& member, const std::string& content);

    // The names in the folder, in order.
    [[nodiscard]] std::vector<std::string> Names() const;

    TempFolder folder_;
};

// A chunk file of these records, and one record.
[[nodiscard]] std::string ChunkFile(const std::string& records, char version = 1);
[[nodiscard]] std::string Record(const std::string& name, int type, const std::string& payload);

}  // namespace Vorn::Testing
