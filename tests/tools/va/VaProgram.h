// A folder, files and archives in it, and the real program run there.
#pragma once

#include "tests/support/Tests.h"

namespace Vorn::Testing {

struct Outcome {
    int exitCode = -1;
    std::string out;
    std::string err;
};

class VaProgram : public testing::Test {
protected:
    // Runs va in the folder; `words` and `before`, which stands in front of it, are shell text.
    [[nodiscard]] Outcome Va(const std::string& words, const std::string& before = {}) const;

    // Runs each row's words: the exit code, and a piece of what is said on both streams; "" for
    // nothing at all, "*" for anything.
    void ExpectAnswers(const Table<std::string, int, std::string>& rows) const;

    // Writes an archive with one member.
    void Pack(const std::string& archive, const std::string& member,
              const std::string& content) const;

    // The names in the folder, in order, a blank behind each.
    [[nodiscard]] std::string Names() const;

    TempFolder folder_;
};

// A chunk file of these records, and one record.
[[nodiscard]] std::string ChunkFile(const std::string& records, char version = 1);
[[nodiscard]] std::string Record(const std::string& name, int type, const std::string& payload);

}  // namespace Vorn::Testing
