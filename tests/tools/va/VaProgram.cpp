#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {

static std::string LittleEndian(std::size_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> 8 * i);
    return bytes;
}

Outcome VaProgram::Va(const std::string& words, const std::string& before) const {
    const TempFolder streams;
    const std::string command = "(cd " + folder_.Path() + " && " + before + " exec " VA " " +
                                words + ") >" + streams.Path("out") + " 2>" + streams.Path("err");
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, streams.Read("out"), streams.Read("err")};
}

void VaProgram::ExpectAnswers(const Table<std::string, int, std::string>& rows) const {
    for (const auto& [words, code, told] : rows) {
        SCOPED_TRACE(words);
        const Outcome run = Va(words);
        EXPECT_EQ(run.exitCode, code);
        EXPECT_THAT(run.out + run.err, HasSubstr(told));
    }
}

void VaProgram::Pack(const std::string& archive, const std::string& member,
                     const std::string& content) const {
    const TempFolder packed;
    packed.Write(member, content);
    const std::string command = "cd " + packed.Path() + " && " VARCHIVE " -k -c a " +
                                folder_.Path(archive) + " " + member + " >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
}

std::string VaProgram::Names() const {
    std::set<std::string> names;
    for (const auto& file : fs::directory_iterator(folder_.Path())) {
        names.insert(file.path().filename());
    }
    std::string joined;
    for (const std::string& name : names) joined += name + " ";
    return joined;
}

std::string ChunkFile(const std::string& records, char version) {
    return "OCS$"s + version + "\0\0\0\0\0\0\0"s + LittleEndian(records.size()) + records;
}

std::string Record(const std::string& name, int type, const std::string& payload) {
    return LittleEndian(name.size() + payload.size() + 3) + static_cast<char>(name.size() + 1) +
           name + '\0' + static_cast<char>(type) + payload;
}

}  // namespace Vorn::Testing
