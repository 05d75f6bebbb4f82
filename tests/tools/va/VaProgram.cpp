#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {

Outcome VaProgram::Va(const std::string& words, const std::string& before) const {
    const TempFolder streams;
    const int code = Shell("cd " + folder_.Path() + " && { " + before + " exec " VA " " + words +
                           "; } >" + streams.Path("out") + " 2>" + streams.Path("err"));
    return {code, streams.Read("out"), streams.Read("err")};
}

void VaProgram::ExpectAnswers(const Table<std::string, int, std::string>& rows) const {
    for (const auto& [words, code, told] : rows) {
        SCOPED_TRACE(words);
        const Outcome run = Va(words);
        EXPECT_EQ(run.exitCode, code);
        const std::string said = run.out + run.err;
        if (told.empty()) {
            EXPECT_EQ(said, "");
        } else if (told != "*") {
            EXPECT_THAT(said, HasSubstr(told));
        }
    }
}

void VaProgram::Pack(const std::string& archive, const std::string& member,
                     const std::string& content) const {
    const TempFolder packed;
    packed.Write(member, content);
    ASSERT_EQ(Shell("cd " + packed.Path() + " && " VARCHIVE " -k -c a " + folder_.Path(archive) +
                    " " + member + " >/dev/null"),
              0);
}

std::string VaProgram::Names() const {
    const TempFolder listed;
    EXPECT_EQ(Shell("LC_ALL=C ls " + folder_.Path() + " | tr '\\n' ' ' >" + listed.Path("names")),
              0);
    return listed.Read("names");
}

static std::string Size(std::size_t size) {  // of less than 64 KiB
    return {static_cast<char>(size), static_cast<char>(size >> 8), '\0', '\0'};
}

std::string ChunkFile(const std::string& records, char version) {
    return "OCS$"s + version + "\0\0\0\0\0\0\0"s + Size(records.size()) + records;
}

std::string Record(const std::string& name, int type, const std::string& payload) {
    return Size(name.size() + payload.size() + 3) + static_cast<char>(name.size() + 1) + name +
           '\0' + static_cast<char>(type) + payload;
}

}  // namespace Vorn::Testing
