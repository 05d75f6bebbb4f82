// Crash reports of a program that faults as its arguments say.
#include <csignal>
#include <sstream>

#include "services/CrashTexts.h"
#include "tests/support/Tests.h"

namespace Vorn {
namespace {

using namespace Testing;
using testing::MatchesRegex;

// Reads a minidump by its public layout.
class Dump {
public:
    explicit Dump(std::string bytes) : bytes_(std::move(bytes)) {}

    [[nodiscard]] std::uint64_t Number(std::size_t at, std::size_t width = 4) const {
        std::uint64_t value = 0;
        while (width-- > 0) value = value << 8 | static_cast<unsigned char>(bytes_.at(at + width));
        return value;
    }
    // Where a stream begins; its directory entry must be sound.
    [[nodiscard]] std::size_t Stream(unsigned type) const {
        for (std::size_t i = 0; i < Number(8); ++i) {
            const std::size_t entry = Number(12) + i * 12;
            if (Number(entry) != type) continue;
            EXPECT_LE(Number(entry + 8) + Number(entry + 4), bytes_.size());
            return Number(entry + 8);
        }
        throw std::runtime_error("no stream " + std::to_string(type));
    }
    [[nodiscard]] std::size_t Context() const { return Number(Stream(6) + 164); }

    // Where a thread's record begins; the stack that it names must be in the memory list.
    [[nodiscard]] std::size_t Thread(std::uint64_t id) const {
        const std::size_t list = Stream(3);
        for (std::size_t at = list + 4; at < list + 4 + Number(list) * 48; at += 48) {
            if (Number(at) != id) continue;
            EXPECT_EQ(Memory(Number(at + 24, 8), Number(at + 32)),
                      bytes_.substr(Number(at + 36), Number(at + 32)));
            return at;
        }
        throw std::runtime_error("no thread " + std::to_string(id));
    }
    // Returns the path of the module that holds an address and has a build id; empty without one.
    [[nodiscard]] std::string ModuleAt(std::uint64_t address) const {
        const std::size_t list = Stream(4);
        std::string path;
        for (std::size_t at = list + 4; at < list + 4 + Number(list) * 108; at += 108) {
            if (address - Number(at, 8) >= Number(at + 8) || Number(at + 76) <= 4) continue;
            const std::size_t name = Number(at + 20);
            for (std::size_t n = 0; n < Number(name); n += 2) path += bytes_[name + 4 + n];
        }
        return path;
    }
    // `size` bytes of the dumped memory; empty when it is not all there.
    [[nodiscard]] std::string Memory(std::uint64_t address, std::size_t size) const {
        const std::size_t list = Stream(5);
        for (std::size_t at = list + 4; at < list + 4 + Number(list) * 16; at += 16) {
            const std::uint64_t offset = address - Number(at, 8);
            if (offset < Number(at + 8) && offset + size <= Number(at + 8)) {
                return bytes_.substr(Number(at + 12) + offset, size);
            }
        }
        return {};
    }

private:
    std::string bytes_;
};

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0, end = 0; (end = text.find("\r\n", at)) != text.npos; at = end + 2) {
        lines.push_back(text.substr(at, end - at));
    }
    return lines;
}

constexpr char kErrorLog[] = "ERRORLOG.TXT";
constexpr char kDump[] = "CRASH.DMP";
constexpr char kEnd[] = "===== [end of ERRORLOG.TXT] =====";

class CrashReports : public testing::Test {
protected:
    void SetUp() override {
#if VORN_SANITIZED
        GTEST_SKIP() << "the sanitizer takes the signals";
#endif
    }

    // Runs the program; the signal that ended it, or its exit code + 1000.
    int Run(const std::string& arguments, const std::string& temporary = {},
            const std::string& program = VORN_CRASH_PROGRAM) {
        const std::string command =
            "ulimit -c 0; exec env VORN_DEBUG_OUTPUT=1 TMPDIR=" + folder_.Path(temporary) + " " +
            program + " " + arguments + " >" + folder_.Path("out") + " 2>" + folder_.Path("errors");
        const int status = std::system(command.c_str());
        return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status) + 1000;
    }
    [[nodiscard]] std::vector<std::string> Report() const {
        return LinesOf(folder_.Read(kErrorLog));
    }

    TempFolder folder_;
};

TEST_F(CrashReports, NameEveryFaultOfAKernelThread) {
    const std::uint64_t unknown = 1;
    const Table<const char*, int, std::uint32_t, const char*, std::uint64_t> faults = {
        {"read", SIGSEGV, 0xC0000005, "an Access Violation (0xc0000005) ", 0x1234},
        {"write", SIGSEGV, 0xC0000005, "an Access Violation (0xc0000005) ", 0xC},
        {"divide", SIGFPE, 0xC0000094, "an Integer Divide by Zero (0xc0000094) ", unknown},
        {"illegal", SIGILL, 0xC000001D, "an Illegal Instruction (0xc000001d) ", unknown},
        {"overflow", SIGSEGV, 0xC00000FD, "a Stack Overflow (0xc00000fd) ", unknown},
        {"abort", SIGABRT, 0x40000015, "an Unknown exception type (0x40000015) ", unknown},
        {"heap", SIGABRT, 0x40000015, "an Unknown exception type (0x40000015) ", unknown},
        {"throw", SIGABRT, 0xE06D7363, "a Microsoft C++ Exception (0xe06d7363) ", unknown}};
    for (const auto& [how, signal, code, name, place] : faults) {
        SCOPED_TRACE(how);
        ASSERT_EQ(Run(how), signal);
        unsigned threadId = 0;
        unsigned long marked = 0;
        ASSERT_EQ(std::sscanf(folder_.Read("out").c_str(), "%u %lx", &threadId, &marked), 2);

        const Dump dump(folder_.Read(kDump));
        ASSERT_EQ(dump.Number(0), 0x504D444Du);
        const std::size_t thread = dump.Thread(threadId);
        const std::size_t exception = dump.Stream(6);
        const std::uint64_t rsp = dump.Number(dump.Context() + 152, 8);
        const std::uint64_t rip = dump.Number(dump.Context() + 248, 8);
        const std::uint64_t address = dump.Number(exception + 24, 8);
        EXPECT_EQ(dump.Number(thread), threadId);
        EXPECT_EQ(dump.Number(thread + 44), dump.Context());
        EXPECT_EQ(dump.Number(exception), threadId);
        EXPECT_EQ(dump.Number(exception + 8), static_cast<unsigned>(signal));
        EXPECT_EQ(dump.Number(exception + 40, 8), code);
        if (how != "overflow"sv) {
            EXPECT_EQ(address, place == unknown ? rip : place);
            EXPECT_EQ(dump.Number(thread + 24, 8), rsp);
        } else {
            const std::uint64_t stack = dump.Number(thread + 24, 8);
            EXPECT_TRUE(address < stack && stack - address <= 0x10000) << address;
        }
        EXPECT_EQ(dump.Memory(marked, 33), "a text on the stack of the thread");
        EXPECT_EQ(dump.Memory(rip - 100, 200).size(), 200u);
        const std::string file = signal == SIGABRT ? "libc.so.6" : "kernel_crash";
        EXPECT_THAT(dump.ModuleAt(rip), testing::EndsWith("/" + file));

        const std::vector<std::string> lines = Report();
        char where[16];
        std::snprintf(where, sizeof(where), "0033:%08x.", static_cast<unsigned>(rip));
        EXPECT_EQ(lines.at(0), "kernel_crash caused "s + name);
        EXPECT_EQ(lines.at(1), "in module " + file + " at " + where);
        EXPECT_EQ(lines.back(), kEnd);
        EXPECT_TRUE(folder_.Read("log.txt").ends_with("Begin:\r\nShutdown.\r\n"));
    }
}

TEST_F(CrashReports, DumpEveryThreadWithItsStack) {
    for (const char* how : {"write", "heap"}) {
        SCOPED_TRACE(how);
        EXPECT_THAT(Run(how + " bystanders"s), testing::AnyOf(SIGSEGV, SIGABRT));
        const Dump dump(folder_.Read(kDump));
        EXPECT_EQ(dump.Number(dump.Stream(3)), 6u);  // and the main thread
        std::istringstream out(folder_.Read("out"));
        std::uint64_t threadId = 0;
        std::uint64_t marked = 0;
        int threads = 0;
        for (; out >> std::dec >> threadId >> std::hex >> marked; ++threads) {
            SCOPED_TRACE(threadId);
            const std::size_t thread = dump.Thread(threadId);
            const std::size_t context = dump.Number(thread + 44);
            EXPECT_EQ(dump.Number(context + 152, 8), dump.Number(thread + 24, 8)) << "its stack";
            EXPECT_NE(dump.ModuleAt(dump.Number(context + 248, 8)), "") << "its instruction";
            EXPECT_EQ(dump.Memory(marked, 33), "a text on the stack of the thread");
        }
        EXPECT_EQ(threads, 5);
    }
}

TEST_F(CrashReports, HoldEveryBlockInOrder) {
    constexpr auto kDate = R"([0-9]+/[0-9]+/[0-9]{4} [0-9][0-9]:[0-9][0-9]:[0-9][02468])";
    const std::vector<std::string> head = {
        "kernel_crash caused .*",
        "in module .*",
        "",
        "Exception handler called in main thread\\.",
        "Error occurred at "s + kDate + "\\.",
        VORN_CRASH_PROGRAM ", run by [^ ]+\\.",
        R"(Operating system:  unknown Windows version \([0-9]+\.[0-9]+\.[0-9]+\)\.)",
        R"([1-9][0-9]* processor\(s\), type 8664\.)",
        R"([0-9]+% memory in use\.)",
        "[1-9][0-9]* MBytes physical memory\\.",
        "[1-9][0-9]* MBytes physical memory free\\.",
        "[0-9]+ MBytes paging file\\.",
        "[0-9]+ MBytes paging file free\\.",
        "134217728 MBytes user address space\\.",
        "1342[0-9]{5} MBytes user address space free\\.",
        "Write to location 0000000c caused an access violation\\."};
    const std::vector<std::string> module = {
        "Module [0-9]+",
        "[/[].*",
        "Image Base: 0x[0-9a-f]{5}000  Image Size: 0x[0-9a-f]{5}000",
        "Checksum:   0x00000000  Time Stamp: 0x00000000",
        "File Size:  [0-9 ]{10}  File Time:  "s + kDate,
        "Version Information:",
        "   Company:    ",
        "   Product:    ",
        "   FileDesc:   ",
        "   FileVer:    0\\.0\\.0\\.0",
        "   ProdVer:    0\\.0\\.0\\.0",
        ""};
    Run("write");
    const std::vector<std::string> lines = Report();
    std::size_t at = 0;
    for (const std::string& pattern : head) EXPECT_THAT(lines.at(at++), MatchesRegex(pattern));
    EXPECT_EQ(lines.at(at + 1), "Context:");
    EXPECT_THAT(lines.at(at + 8), MatchesRegex("([0-9a-f]{2} ){16}"));
    EXPECT_EQ(lines.at(at + 10), "Stack:");
    const std::size_t stack = at += 11;
    const auto isStackLine =
        testing::Matches(MatchesRegex("0x[0-9a-f]{7}[08]: ([0-9a-f]{8} |         ){4}[ -~]{4,16}"));
    while (isStackLine(lines.at(at))) ++at;
    EXPECT_TRUE(at > stack && at - stack <= 0x3000 / 16) << at - stack;
    EXPECT_EQ(lines.at(at), "Module 1");
    EXPECT_EQ(lines.at(at + 1), VORN_CRASH_PROGRAM);
    EXPECT_GE(lines.size(), at + 3 * module.size() + 2);
    for (std::size_t row = 0; at + 2 < lines.size(); row = (row + 1) % module.size()) {
        EXPECT_THAT(lines[at++], MatchesRegex(module[row]));
    }
    EXPECT_EQ(lines.at(at - 1) + lines.at(at), "");
    EXPECT_EQ(lines.at(at + 1), kEnd);
}

TEST_F(CrashReports, PrintWhatTheyAreGiven) {
    fs::create_directory(folder_.Path(kDump));  // a made-up fault cannot be dumped
    EXPECT_EQ(Run("none 'made up'"), 1000);
    const std::vector<std::string> lines = Report();
    EXPECT_EQ(lines.at(0), "kernel_crash caused an Unknown exception type (0x12345678) ");
    EXPECT_EQ(lines.at(1), "in module Unknown at 0033:00000007.");
    const auto context = std::find(lines.begin(), lines.end(), "Context:");
    ASSERT_GT(lines.end() - context, 12);
    EXPECT_THAT(context[-2], testing::EndsWith("free."));
    EXPECT_EQ(context[-1], "");
    const std::vector<std::string> block(context + 1, context + 12);
    ASSERT_NE(block[9].find(": "), std::string::npos);
    EXPECT_THAT(
        block,
        ElementsAre(
            "EDI:    0x00000001  ESI: 0x00000002  EAX:   0x00000003",
            "EBX:    0x00000004  ECX: 0x00000005  EDX:   0x00000006",
            "EIP:    0x00000007  EBP: 0x00000008  SegCs: 0x00000033",
            "EFlags: 0x0000000a  ESP: 0x00000009  SegSs: 0x0000002b", "",
            "Bytes at CS:EIP:", "?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ", "",
            "Stack:", testing::EndsWith(": 62203032 73657479 7f01203a 2e2e2e20 20 bytes: .. ..."),
            testing::EndsWith(": 21207e20                             ~ !")));
}

TEST_F(CrashReports, StartTheReporterAndEndTheProcess) {
    const fs::path program = folder_.Path("bin/crash here.exe");
    fs::create_directory(program.parent_path());
    fs::copy_file(VORN_CRASH_PROGRAM, program);
    folder_.Write("bin/XCrashReport.exe", "#!/bin/sh\necho \"$# $0 $1\" >\"$TMPDIR/started\"\n",
                  fs::perms{0755});
    fs::create_directory(folder_.Path(kDump));
    EXPECT_EQ(Run("write", {}, "'" + program.string() + "'"), 1001);
    for (int i = 0; i < 5000 && folder_.Read("started").empty(); ++i) usleep(1000);
    EXPECT_EQ(folder_.Read("started"),
              "1 " + folder_.Path("bin/XCrashReport.exe") + " crash here.exe\n");
    EXPECT_TRUE(Report().at(0).starts_with("crash here.exe caused"));
    EXPECT_EQ(folder_.Read("errors"), "");  // no dump
}

TEST_F(CrashReports, TellTheDebuggerWhatTheyDo) {
    Run("throw");
    EXPECT_EQ(folder_.Read("errors"),
              "ExceptionHandlerXCrashReport> raising exception\r\n"
              "ExceptionHandlerXCrashReport> writing minidump\r\n");
    EXPECT_EQ(Run("read", "absent"), SIGSEGV);
    EXPECT_EQ(folder_.Read("errors"), "Error creating exception report\r\n");
    EXPECT_EQ(fs::status(folder_.Path(kDump)).permissions(), fs::perms{0600});
}

TEST_F(CrashReports, AreLeftByKernelThreadsAndFaultsOnly) {
    const Table<const char*, int, bool> runs = {
        {"write main", SIGSEGV, false}, {"divide main", SIGFPE, false},
        {"throw main", SIGABRT, false}, {"abort main", SIGABRT, false},
        {"sent", SIGSEGV, false},       {"sent taken", 1009, false},
        {"write taken", 1009, true}};
    for (const auto& [arguments, end, isReported] : runs) {
        SCOPED_TRACE(arguments);
        EXPECT_EQ(Run(arguments), end);
        EXPECT_EQ(folder_.Has(kErrorLog), isReported);
        EXPECT_EQ(folder_.Has(kDump), isReported);
    }
}

TEST_F(CrashReports, OfThreadsThatFaultTogetherAreOneAndWhole) {
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(Run("write crowd"), SIGSEGV);
        EXPECT_EQ(Report().back(), kEnd);
        const Dump dump(folder_.Read(kDump));
        EXPECT_NE(folder_.Read("out").find(std::to_string(dump.Number(dump.Stream(6))) + " "),
                  std::string::npos);
        EXPECT_EQ(folder_.Read("errors"), "ExceptionHandlerXCrashReport> writing minidump\r\n");
        fs::remove(folder_.Path(kErrorLog));
    }
}

TEST(CrashTexts, NameExceptionsAndSystems) {
    for (const auto& [code, name] :
         Table<std::uint32_t, const char*>{{0x40010005, "a Control-C"},
                                           {0xC000008C, "a Array Bounds Exceeded"},
                                           {0xC0000142, "a DLL Initialization Failed"},
                                           {0, "an Unknown exception type"}}) {
        EXPECT_STREQ(ExceptionName(code), name);
    }
    const Table<platform::OperatingSystem, const char*> systems = {
        {{1, 4, 0, 949}, "unknown Windows version"},
        {{1, 4, 0, 1081}, "Windows 95 OSR2"},
        {{1, 4, 10, 2182}, "Windows 98 SP1"},
        {{1, 4, 10, 2183}, "Windows 98 SE"},
        {{2, 5, 2, 0}, "Windows 2003 Server"},
        {{2, 6, 0, 0}, "unknown Windows version"},
        {{3, 7, 7, 7}, "Windows CE"},
        {{0, 5, 1, 0}, "unknown Windows version"}};
    for (const auto& [system, name] : systems) EXPECT_STREQ(OperatingSystemName(system), name);
}

}  // namespace
}  // namespace Vorn
