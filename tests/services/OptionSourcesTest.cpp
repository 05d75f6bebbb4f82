// Where option texts come from, and which of them wins.
#include "services/OptionSources.h"

#include "KernelStandard/File.h"
#include "KernelStandard/ScopedMount.h"
#include "platform/Processes.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

// Returns the sources after the two variables that always come first: "$name" for a variable, the
// path for a file.
std::vector<std::string> Sources(const std::string& program, const std::string& current) {
    std::vector<std::string> texts;
    for (const OptionSource& source : ListOptionSources("App", program, current)) {
        texts.push_back((source.kind == OptionSource::Kind::Variable ? "$" : "") + source.name);
    }
    EXPECT_EQ(texts[0] + texts[1], "$Options$AppOptions");
    return {texts.begin() + 2, texts.end()};
}

TEST(OptionSources, StandInTheirOrder) {
    EXPECT_THAT(Sources("/opt/bin/tool_7s.exe", "/home/me"),
                ElementsAre("$toolOptions",  //
                            "/opt/bin/AppOptions.txt", "/opt/bin/toolOptions.txt",
                            "/home/me/AppOptions.txt", "/home/me/toolOptions.txt"));
    EXPECT_THAT(Sources(R"(C:\Bin\APP.exe)", "C:/Else"),
                ElementsAre(R"(C:\Bin/AppOptions.txt)", "C:/Else/AppOptions.txt"));
    EXPECT_THAT(Sources("/a/C:app", ""), ElementsAre("/a/C:/AppOptions.txt"));
}

TEST(OptionSources, LeaveOutWhatIsEqualUnknownOrTooLong) {
    for (const std::string& current :
         {R"(\opt\bin)"s, "/opt/bin/below"s, "/" + std::string(259, 'x')})
        EXPECT_THAT(Sources("/opt/bin/app", current), ElementsAre("/opt/bin/AppOptions.txt"));
    for (const std::string& program : {""s, "/b/" + std::string(254, 'x')})
        EXPECT_THAT(Sources(program, "/home"), ElementsAre("/home/AppOptions.txt"));
    EXPECT_EQ(Sources("/b/" + std::string(253, 'x'), "/home").size(), 5u);
}

using OptionLoading = InFolder;

std::string Load(const char* name, const char* commandText) {
    OptionList list;
    LoadOptions(list, "LoadTest", commandText);
    String value;
    GetOptionString(list, name, value, "none");
    return value.Text();
}

// Uses a separate option, since cases that run at the same time see the files beside the program.
TEST_F(OptionLoading, TakesEverySourceInItsOrder) {
    const fs::path program = platform::ProgramPath();
    const std::string own = program.filename().string() + "Options";
    const std::string variables[] = {"Options", "LoadTestOptions", own};
    const fs::path files[] = {program.parent_path() / "LoadTestOptions.txt",
                              program.parent_path() / (own + ".txt"), "LoadTestOptions.txt",
                              own + ".txt"};
    int order = 0;
    const auto next = [&order] { return "+order=" + std::to_string(++order); };
    for (const std::string& name : variables) setenv(name.c_str(), next().c_str(), 1);
    for (const fs::path& file : files) folder.Write(file.string(), next());
    EXPECT_EQ(Load("order", "+order=8"), "1,2,3,4,5,6,7,8");
    EXPECT_EQ(Load("order", "-order=8"), "8");
    EXPECT_EQ(Load("order", nullptr), "1,2,3,4,5,6,7");
    for (const std::string& name : variables) unsetenv(name.c_str());
    for (const fs::path& file : files) fs::remove(file);
}

TEST_F(OptionLoading, SkipsWhatIsMissingOrNotAnOptionFile) {
    EXPECT_EQ(Load("v", nullptr), "none");
    fs::create_directory("LoadTestOptions.txt");
    EXPECT_EQ(Load("v", "-v=1"), "1");
    fs::remove("LoadTestOptions.txt");

    folder.Write("LoadTestOptions.txt", "-v=file");
    fs::resize_file("LoadTestOptions.txt", 16 * 1024 * 1024);
    EXPECT_EQ(Load("v", nullptr), "file");
    fs::resize_file("LoadTestOptions.txt", 16 * 1024 * 1024 + 1);
    EXPECT_EQ(Load("v", nullptr), "none");

    File compressed;
    ASSERT_EQ(compressed.Open("LoadTestOptions.txt", kCreateOrTruncate | kWriteCompressed), RES_OK);
    EXPECT_EQ(compressed.Write(("-v=start -w=" + Noise(20000)).data(), 20000), 20000u);
    ASSERT_TRUE(compressed.Close());
    EXPECT_EQ(Load("v", nullptr), "start");
    fs::resize_file("LoadTestOptions.txt", fs::file_size("LoadTestOptions.txt") - 1);
    EXPECT_EQ(Load("v", nullptr), "none") << "half a file of options is none";
}

TEST_F(OptionLoading, ConvertsUtf16AndKeeps8BitText) {
    // An A with diaeresis, a euro sign, a letter outside the code page; an odd byte at the end.
    for (const auto& [file, value] :
         Table<std::string, const char*>{{"-v=\xC4\x80", "\xC4\x80"},
                                         {"\xFF\xFE-\0v\0=\0\xC4\0\xAC\x20\x30\x04x"s, "\xC4\x80?"},
                                         {"\xFF\xFE", "none"}}) {
        folder.Write("LoadTestOptions.txt", file);
        EXPECT_EQ(Load("v", nullptr), value);
    }
}

TEST_F(OptionLoading, AFolderWithAColonIsNoMount) {
    folder.Write("ww:x/LoadTestOptions.txt", "-v=right");
    folder.Write("x/LoadTestOptions.txt", "-v=wrong");
    OptionList list;
    ASSERT_TRUE(ParseOptionFile(list, InternedString(), "ww:x/LoadTestOptions.txt"));
    String value;
    GetOptionString(list, "v", value, "none");
    EXPECT_STREQ(value.Text(), "right");
}

TEST_F(OptionLoading, ReadsMountedFilesWithTheLongestNames) {
    const std::string name(255, 'x');
    folder.Write(name, "-v=mounted");
    const ScopedMount mount(Intern("options"), "./");
    OptionList list;
    EXPECT_TRUE(ParseOptionFile(list, ("options:" + name).c_str()));
    EXPECT_FALSE(ParseOptionFile(list, std::string(260, 'x').c_str()));
}

}  // namespace
}  // namespace Vorn::Testing
