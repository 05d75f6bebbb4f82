#include "tests/tools/va/VaProgram.h"

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubstList.h"

namespace Vorn::Testing {
namespace {

std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? "'\\''"s : std::string(1, c);
    return quoted + "'";
}

std::string LittleEndian(std::size_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> 8 * i);
    return bytes;
}

}  // namespace

Outcome VaProgram::Va(const std::vector<std::string>& arguments, const std::string& before) const {
    const TempFolder streams;
    std::string command = "cd " + Quoted(folder_.Path()) + " && " + before + " exec " VA;
    for (const std::string& argument : arguments) command += " " + Quoted(argument);
    command =
        "(" + command + ") >" + Quoted(streams.Path("out")) + " 2>" + Quoted(streams.Path("err"));
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, streams.Read("out"), streams.Read("err")};
}

void VaProgram::Pack(const std::string& archive, const std::string& member,
                     const std::string& content) {
    const InternedString name = Intern("packing");
    Subst(name, folder_.Path(archive).c_str(), true);
    {
        File file;
        ASSERT_EQ(file.Open(name, member.c_str(), kWriteCompressed | kCreateOrTruncate), RES_OK);
        const auto size = static_cast<std::uint32_t>(content.size());
        ASSERT_EQ(file.Write(content.data(), size), size);
        ASSERT_TRUE(file.Close());
    }
    Subst(name, nullptr);
}

std::vector<std::string> VaProgram::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_.Path())) {
        names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
}

std::string ChunkFile(const std::string& records, char version) {
    return "OCS$"s + version + "\0\0\0\0\0\0\0"s + LittleEndian(records.size()) + records;
}

std::string Record(const std::string& name, int type, const std::string& payload) {
    const std::string field = name + '\0';
    return LittleEndian(field.size() + payload.size() + 2) + static_cast<char>(field.size()) +
           field + static_cast<char>(type) + payload;
}

}  // namespace Vorn::Testing
