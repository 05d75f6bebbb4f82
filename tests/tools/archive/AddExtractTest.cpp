// Adding files and extracting members.
#include "tests/KernelStandard/FileLayer.h"
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

class AddExtract : public ArchiveProgram {
protected:
    void WriteData() const {
        Write({{"a.txt", "a"}, {"Data/b.txt", "b"}, {"Data/c.bak", "c"}, {"Data/Sub/d.txt", "d"}});
    }
    void Begin() const {
        fs::remove_all(folder.Path("x.va"));
        fs::remove_all(folder.Path("to"));
        fs::create_directory(folder.Path("to"));
    }
};

TEST_F(AddExtract, LinesShowTransfersOf128K) {
    Write({{"big", Noise(307'200)}, {"small", "hi"}});
    const std::string head = "Add:     0k      /  300k .. big" + std::string(47, ' ') + " ";
    EXPECT_EQ(Do("a x.va small"), "Add:     0k      /    0k .. small" + std::string(45, ' ') +
                                      " \rAdd:     0k\n\nProcessed 1 files.\n");
    const std::string verbose = Do("-v a x.va big");
    EXPECT_TRUE(verbose.starts_with(head + "\rAdd:   128k\rAdd:   256k\rAdd:   300k\rAdd: "));
    EXPECT_TRUE(verbose.ends_with("kbs\n\nProcessed 1 files.\n"));
    const std::string end = "\n\nProcessed 1 files.\n";
    EXPECT_EQ(Do("e x.va big"), "  300k 100%/  300k .. .\\big" + end);
    EXPECT_EQ(Do("-v e x.va big"),
              "    0k   0%/  300k .. .\\big\r  128k  43%\r  256k  85%\r  300k 100%" + end);
}

TEST_F(AddExtract, SwitchesDecideWhichFilesAreAddedUnderWhichNames) {
    WriteData();
    const Table<std::string, Names> rows = {
        {"a x.va a.txt Data/*.txt", {"a.txt", "b.txt"}},
        {"-k a x.va ./a.txt 'Data/*.txt'", {"Data/b.txt", "a.txt"}},
        {"-r a x.va 'Data/*.txt'", {"b.txt", "d.txt"}},
        {"-rk a x.va 'Data/*.txt'", {"b.txt", "d.txt"}},  // one switch, with a value
        {"-r -k a x.va 'Data/*.txt;*.bak'", {"Data/Sub/d.txt", "Data/b.txt", "Data/c.bak"}},
        {"-r '-x*.bak;D.*' a x.va 'Data/*'", {"b.txt"}},
        {"-r -xData/Sub a x.va 'Data/*'", {"b.txt", "c.bak"}},
        {"-r -xdata/ a x.va 'Data/*'", {"d.txt"}},
        {"-r -k -xb* -xc* a x.va 'Data/*'", {"Data/Sub/d.txt"}},
        {"-k a x.va " + folder.Path("a.txt"), {folder.Path("a.txt").substr(1)}},
    };
    for (const auto& [words, names] : rows) {
        SCOPED_TRACE(words);
        Begin();
        Do(words);
        EXPECT_EQ(NamesIn(Unpack("x.va")), names);
    }
}

TEST_F(AddExtract, SwitchesDecideWhereMembersGo) {
    WriteData();
    Do("-r -k a pack.va '*.txt'");
    const Table<std::string, Names> rows = {
        {"e ../pack.va", {"a.txt"}},
        {"-r e ../pack.va", {"a.txt", "b.txt", "d.txt"}},
        {"-r e ../pack.va 'Data/*'", {"Data/b.txt", "Data/d.txt"}},
        {"-r -k e ../pack.va", {"Data/Sub/d.txt", "Data/b.txt", "a.txt"}},
        {"-xa* -r -k e ../pack.va", {"Data/Sub/d.txt", "Data/b.txt"}},
        {"-pOut e ../pack.va 'Data/*'", {"Out/Data/Out/b.txt"}},
        {"-pOut.dir e ../pack.va", {"Out/Out.dir/a.txt"}},
        {"-k -r -pOut e ../pack.va 'Data/*'", {"Out/Data/Out/Sub/d.txt", "Out/Data/Out/b.txt"}},
    };
    for (const auto& [words, names] : rows) {
        SCOPED_TRACE(words);
        Begin();
        const Outcome outcome = Run(words, "cd to && exec");
        EXPECT_EQ(outcome.exitCode, 0) << outcome.printed << outcome.problems;
        EXPECT_EQ(NamesIn(FilesIn("to")), names);
    }
    fs::current_path("to");
    fs::rename("../pack.va", "pack.va");
    Do("-n e pack.va 'Data/*'");
    Do("-n -pP e pack.va");
    EXPECT_EQ(NamesIn(FilesIn(".")), (Names{"Out/Data/Out/Sub/d.txt", "Out/Data/Out/b.txt",
                                            "P/P/a.txt", "pack.va", "pack/Data/b.txt"}));
    fs::current_path("..");
}

TEST_F(AddExtract, AnUnknownSwitchIsNamedAndChangesNothing) {
    folder.Write("a.txt", "1");
    const Outcome outcome = Run("-z -P -quick -LogFlush -k a x.va a.txt");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.problems,
              "VArchive: there is no switch -z; --help shows them\n"
              "VArchive: there is no switch -quick; --help shows them\n");
    EXPECT_EQ(Run("-k a y.va a.txt").printed, outcome.printed);
}

TEST_F(AddExtract, CompressionStartsAbove1024Bytes) {
    Write({{"1024", Prose(1'024)}, {"1025", Prose(1'025)}});
    Do("-c -sbuildversion=12x -sproductcode=34 a x.va 1024 1025");
    const std::string bytes = folder.Read("x.va");
    EXPECT_EQ(Get32(bytes, 28), 12U);
    EXPECT_EQ(Get32(bytes, 32), 34U);
    EXPECT_EQ(bytes.find("CFIL"), 44U + 296 + 1'024 + 296);
    EXPECT_LT(bytes.size(), 44U + 2 * 296 + 1'024 + 1'025 + 8 + 2 * 296);
}

TEST_F(AddExtract, OddNamesAndContentsComeBack) {
    const std::string stream = "CFIL\1\1\0\0"s;
    const Files files = {{" lead", ""},
                         {"trail ", "x"},
                         {"-r", Prose(1'024)},
                         {"@x", Prose(1'025)},
                         {"a'b`$c", Noise(8'192)},
                         {"100%s%n", Prose(131'072)},
                         {"..dots..", Noise(131'073)},
                         {"\xC3\x9C", Prose(300'000)},
                         {"\x80\xFF", "CFIL"},
                         {"CAPS/Low/[1]", stream + U32(0)},
                         {"CAPS/{2}", stream + U32(5) + Noise(50)},
                         {"CAPS/ /!", stream + U32(0xFFFF'FFFF) + Noise(5'000)},
                         {"CAPS/~", "CFIL" + Prose(100'000)},
                         {std::string(120, 'n') + "/" + std::string(100, 'm'), "ARCH"}};
    Write(files);
    for (const std::string switches : {"-r -k", "-c -r -k"}) {
        SCOPED_TRACE(switches);
        Begin();
        Do(switches + " '-x*.va' a to/x.va '*'");
        EXPECT_TRUE(Unpack("to/x.va") == files);
        Do(switches + " '-x*.va' a to/x.va '*'");  // each member is replaced
        EXPECT_TRUE(Unpack("to/x.va") == files);
        EXPECT_EQ(FilesIn(".").size(), files.size() + 1);
    }
}

TEST_F(AddExtract, ExitCodesTellWhetherAllWentWellAndNothingIsLeftBehind) {
    const Table<std::string, int, std::string, Names> rows = {
        {"--help", 0, "Vorn Archiver v1.9\nUsage:\n", {"a.txt"}},
        {"--version", 0, "VArchive 1.", {"a.txt"}},
        {"", 1, "Vorn Archiver v1.9\n", {"a.txt"}},
        {"a", 1, "Vorn Archiver v1.9\n", {"a.txt"}},
        {"A x.va a.txt", 1, "- Warning, no input files found: command ", {"a.txt", "x.va"}},
        {"a x.va 'a\"txt'", 1, "", {"a.txt"}},
        {"a x.va ''", 1, "", {"a.txt"}},
        {"a x.va 'a\n'", 1, "", {"a.txt"}},
        {"a x.va none a.txt", 1, "Add: ", {"a.txt", "x.va"}},
        {"a a.txt a.txt", 1, "Add: ", {"a.txt"}},
        {"a x.va a.txt -k", 1, "Add: ", {"a.txt", "x.va"}},  // a path, for it comes last
        {"a x.va a.txt", 0, "Add: ", {"a.txt", "x.va"}},
    };
    folder.Write("a.txt", "1");
    for (const auto& [words, code, printed, names] : rows) {
        SCOPED_TRACE(words);
        fs::remove("x.va");
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.exitCode, code);
        EXPECT_TRUE(outcome.printed.starts_with(printed)) << outcome.printed;
        const bool told = CountOf("Error, ", outcome.printed) + CountOf("Usage:", outcome.printed) +
                              outcome.problems.size() >
                          0;
        EXPECT_EQ(told, code != 0 || words == "--help") << outcome.problems;
        EXPECT_EQ(NamesIn(FilesIn(".")), names);
        EXPECT_EQ(folder.Read("a.txt"), "1");
    }
    EXPECT_EQ(Run("q x.va").printed,
              "VArchive::Execute(): No command specified.\n"
              "Tool::ProcessCommandLine(): Command execution failed:\n\"\"q\" \"x.va\"\"\n\n");
}

}  // namespace
}  // namespace Vorn::Testing
