// Where option texts come from, and which of them wins.
#include "kernel/services/OptionSources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/Processes.h"
#include "tests/support/TempFolder.h"

namespace Vorn {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

// The sources as texts: "$name" for a variable, the path for a file.
std::vector<std::string> Sources(const char* app, const std::string& program,
                                 const std::string& current) {
    std::vector<std::string> texts;
    for (const OptionSource& source : ListOptionSources(app, program, current)) {
        texts.push_back((source.kind == OptionSource::Kind::Variable ? "$" : "") + source.name);
    }
    return texts;
}

TEST(OptionSources, StandInTheirOrder) {
    EXPECT_THAT(Sources("App", "/opt/bin/tool_7s.exe", "/home/me"),
                ElementsAre("$Options", "$AppOptions", "$toolOptions",  //
                            "/opt/bin/AppOptions.txt", "/opt/bin/toolOptions.txt",
                            "/home/me/AppOptions.txt", "/home/me/toolOptions.txt"));
    EXPECT_THAT(Sources("App", R"(C:\Bin\APP.exe)", "C:/Else"),
                ElementsAre("$Options", "$AppOptions", R"(C:\Bin/AppOptions.txt)",
                            "C:/Else/AppOptions.txt"));
    EXPECT_THAT(Sources("App", "/a/C:app", ""),
                ElementsAre("$Options", "$AppOptions", "/a/C:/AppOptions.txt"));
}

TEST(OptionSources, LeaveOutWhatIsEqualUnknownOrTooLong) {
    const auto equal = ElementsAre("$Options", "$AppOptions", "/opt/bin/AppOptions.txt");
    EXPECT_THAT(Sources("App", "/opt/bin/app", R"(\opt\bin)"), equal);
    EXPECT_THAT(Sources("App", "/opt/bin/app", "/opt/bin/below"), equal);
    EXPECT_THAT(Sources("App", "/opt/bin/app", "/" + std::string(259, 'x')), equal);

    const auto unknown = ElementsAre("$Options", "$AppOptions", "/home/AppOptions.txt");
    EXPECT_THAT(Sources("App", "", "/home"), unknown);
    EXPECT_THAT(Sources("App", "/b/" + std::string(254, 'x'), "/home"), unknown);
    EXPECT_EQ(Sources("App", "/b/" + std::string(253, 'x'), "/home").size(), 7u);
}

// Variables, files beside the program and files in the current directory, all taken away again.
class OptionLoading : public testing::Test {
protected:
    void SetUp() override { here_.Enter(); }
    void TearDown() override {
        for (const std::string& name : variables_) unsetenv(name.c_str());
        for (const fs::path& file : besideProgram_) fs::remove(file);
    }

    void SetVariable(const std::string& name, const std::string& text) {
        setenv(name.c_str(), text.c_str(), 1);
        variables_.push_back(name);
    }
    void WriteBesideProgram(const std::string& name, const std::string& text) {
        besideProgram_.push_back(Program().parent_path() / name);
        here_.Write(besideProgram_.back().string(), text);
    }
    void WriteHere(const std::string& name, const std::string& text) { here_.Write(name, text); }
    static fs::path Program() { return platform::ProgramPath(); }

private:
    Testing::TempFolder here_;
    std::vector<std::string> variables_;
    std::vector<fs::path> besideProgram_;
};

std::string Load(const char* name, const char* commandText) {
    OptionList list;
    LoadOptions(list, "LoadTest", commandText);
    String value;
    GetOptionString(list, name, value, "none");
    return value.Text();
}

// An option of its own, since cases that run beside this one see the files beside the program.
TEST_F(OptionLoading, TakesEverySourceInItsOrder) {
    const std::string program = Program().filename().string();
    SetVariable("Options", "+order=1");
    SetVariable("LoadTestOptions", "+order=2");
    SetVariable(program + "Options", "+order=3");
    WriteBesideProgram("LoadTestOptions.txt", "+order=4");
    WriteBesideProgram(program + "Options.txt", "+order=5");
    WriteHere("LoadTestOptions.txt", "+order=6");
    WriteHere(program + "Options.txt", "+order=7");

    EXPECT_EQ(Load("order", "+order=8"), "1,2,3,4,5,6,7,8");
    EXPECT_EQ(Load("order", "-order=8"), "8");
    EXPECT_EQ(Load("order", nullptr), "1,2,3,4,5,6,7");
}

TEST_F(OptionLoading, SkipsWhatIsMissingOrNotAnOptionFile) {
    EXPECT_EQ(Load("v", nullptr), "none");
    fs::create_directory("LoadTestOptions.txt");
    EXPECT_EQ(Load("v", "-v=1"), "1");
    fs::remove("LoadTestOptions.txt");

    WriteHere("LoadTestOptions.txt", "-v=file");
    fs::resize_file("LoadTestOptions.txt", 16 * 1024 * 1024);
    EXPECT_EQ(Load("v", nullptr), "file");
    fs::resize_file("LoadTestOptions.txt", 16 * 1024 * 1024 + 1);
    EXPECT_EQ(Load("v", nullptr), "none");
}

TEST_F(OptionLoading, ConvertsUtf16AndKeeps8BitText) {
    using namespace std::string_literals;
    WriteHere("LoadTestOptions.txt", "-v=\xC4\x80");
    EXPECT_EQ(Load("v", nullptr), "\xC4\x80");
    // An A with diaeresis, a euro sign, a letter outside the code page; an odd byte at the end.
    WriteHere("LoadTestOptions.txt", "\xFF\xFE-\0v\0=\0\xC4\0\xAC\x20\x30\x04x"s);
    EXPECT_EQ(Load("v", nullptr), "\xC4\x80?");
    WriteHere("LoadTestOptions.txt", "\xFF\xFE");
    EXPECT_EQ(Load("v", nullptr), "none");
}

}  // namespace
}  // namespace Vorn
