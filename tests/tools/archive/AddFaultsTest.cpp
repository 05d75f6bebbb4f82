// Adding and extracting while the system fails, or kills the program.
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

const std::set<std::string> kFiles = {"after", "before", "begun.va", "x.va", "to", "trace"};

class Faults : public ArchiveProgram {
protected:
    void SetUp() override {
        // A sanitizer makes system calls as well, and ends the program with 0 when one fails.
        if (VORN_SANITIZED) GTEST_SKIP() << "for builds without a sanitizer";
        if (Shell("strace -o /dev/null true 2>/dev/null") != 0) {
            GTEST_SKIP() << "tracing is not permitted";
        }
        Write({{"before/a", "old a"}, {"before/b", Prose(20'000)}, {"before/c", Noise(9'000)}});
        Write({{"after/b", Noise(150'000, 2)}, {"after/d", Prose(5'000)}, {"after/e", ""}});
        Do("-c a begun.va before/a before/b before/c");
    }

    // The folder's archive before and after, and what each of its members may be in between.
    [[nodiscard]] Files Before() const { return FilesIn("before"); }
    [[nodiscard]] Files After() const {
        Files files = FilesIn("after");
        files.merge(Before());
        return files;
    }

    // Runs `words` once for each of its system calls of the set `calls`, and makes that call fail;
    // with `andAfter` the later ones too. Returns the number of runs, and of those with another
    // exit code than 0.
    template <typename Check>
    std::pair<int, int> ForEachFault(const std::string& words, const std::string& calls,
                                     const std::string& fault, const Check& check,
                                     const std::string& andAfter = {}) {
        int failed = 0;
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(calls + fault + " " + std::to_string(nth));
            fs::remove("x.va");
            fs::remove_all("to");
            fs::create_directory("to");
            fs::copy("begun.va", "x.va");
            const Outcome outcome =
                Run(words, "strace -o trace -e trace='" + calls + "' -e inject='" + calls + "'" +
                               fault + ":when=" + std::to_string(nth) + andAfter);
            const std::string trace = folder.Read("trace");
            const bool met = CountOf("(INJECTED)", trace) + CountOf("SIGKILL", trace) > 0;
            check(outcome.exitCode);
            for (const auto& entry : fs::directory_iterator(".")) {
                EXPECT_TRUE(kFiles.contains(entry.path().filename().string())) << entry.path();
            }
            if (!met) {
                EXPECT_EQ(outcome.exitCode, 0);
                return {nth - 1, failed};
            }
            failed += outcome.exitCode == 0 ? 0 : 1;
        }
    }

    // Whatever happened, each member is whole: as it was before or as it should become.
    void ExpectWholeMembers(int exitCode) const {
        const Files before = Before();
        const Files after = After();
        const Files members = Unpack("x.va");
        EXPECT_TRUE(exitCode != 0 || members == after) << testing::PrintToString(NamesIn(members));
        for (const auto& [name, content] : before) {
            EXPECT_TRUE(members.contains(name)) << name << " is lost";
        }
        for (const auto& [name, content] : members) {
            const auto old = before.find(name);
            const bool isOld = old != before.end() && old->second == content;
            const std::string& now = after.at(name);
            EXPECT_TRUE(isOld || now == content) << name << " is not whole";
        }
    }
};

TEST_F(Faults, AddingIsKilledAtEachCall) {
    for (const std::string calls : {"write,pwrite64", "ftruncate"}) {
        const auto [met, failed] =
            ForEachFault("-c a x.va after/b after/d after/e", calls, ":signal=KILL", [&](int code) {
                ExpectWholeMembers(code);
                Do("-c a x.va after/b after/d after/e");  // what is left can be added to
                EXPECT_TRUE(Unpack("x.va") == After());
            });
        EXPECT_EQ(failed, met) << calls;
        EXPECT_GE(met, calls == "ftruncate" ? 1 : 8) << calls;
    }
}

TEST_F(Faults, ExtractingIsKilledAtEachCall) {
    const Files whole = Before();
    const auto [met, failed] = ForEachFault(
        "-pto/x e x.va a b c", "openat,write,/^(rename|link)", ":signal=KILL", [&](int) {
            for (const auto& [path, content] : FilesIn("to")) {
                const auto member = whole.find(fs::path(path).filename());
                EXPECT_TRUE(member == whole.end() || member->second == content) << path;
            }
        });
    EXPECT_EQ(failed, met);
    EXPECT_GE(met, 9);
}

// Acts as a system that does not allow linking by descriptor, and as one without /proc.
TEST_F(Faults, ExtractingNeedsNoFilesWithoutNames) {
    for (const std::string fault : {"linkat:error=ENOENT:when=1", "access:error=ENOENT"}) {
        SCOPED_TRACE(fault);
        fs::remove_all("to");
        for (int round = 0; round < 2; ++round) {  // the second one replaces files
            EXPECT_EQ(Run("-pto/ e begun.va", "strace -o trace -e inject=" + fault).exitCode, 0);
            EXPECT_GT(CountOf("(INJECTED)", folder.Read("trace")), 0U);
            EXPECT_TRUE(FilesIn("to/to") == Before());
        }
    }
}

TEST_F(Faults, AFailedCallIsNeverASuccessWithAWrongResult) {
    const std::string add = "-c a x.va after/b after/d after/e";
    const std::string extract = "-pto/x e x.va a b c";
    const Table<std::string, std::string, std::string, std::string, int> rows = {
        {add, "write,pwrite64", ":error=ENOSPC", "", 5},  // a batch is tried once more
        {add, "write,pwrite64", ":error=ENOSPC", "+", 8},
        {add, "openat,/^rename", ":error=EACCES", "", 4},
        {add, "openat,/^rename", ":error=EACCES", "+", 20},
        {add, "read,pread64", ":error=EIO", "", 5},
        {add, "read,pread64", ":retval=0", "", 5},  // a source that shrinks
        {add, "ftruncate", ":error=EIO", "", 1},
        {add, "/^(fstat|newfstatat|statx)$", ":error=EIO", "", 1},
        {extract, "write,pwrite64", ":error=ENOSPC", "", 3},
        {extract, "openat,/^rename", ":error=EACCES", "+", 20},
        {extract, "read,pread64", ":error=EIO", "", 5},
        {extract, "linkat", ":error=EACCES", "+", 3},
        {extract, "/^mkdir", ":error=EACCES", "", 1},
    };
    const std::string archive = folder.Read("begun.va");
    for (const auto& [words, calls, fault, andAfter, least] : rows) {
        const bool adds = words == add;
        const auto check = [&](int code) {
            if (adds) return ExpectWholeMembers(code);
            EXPECT_TRUE(code != 0 || FilesIn("to/x/to/x") == Before());
            EXPECT_TRUE(folder.Read("x.va") == archive);
            for (const auto& [name, content] : FilesIn("to")) {
                const std::string member = fs::path(name).filename();
                EXPECT_TRUE(name.ends_with('/') || content == Before().at(member)) << name;
            }
        };
        const auto [met, failed] = ForEachFault(words, calls, fault, check, andAfter);
        EXPECT_GE(failed, least) << calls << " of " << met;
    }
}

TEST_F(Faults, AFileSizeLimitIsNeverASuccessWithAWrongResult) {
    int failed = 0;
    for (int blocks = 30; blocks <= 360; blocks += 30) {  // of 512 bytes
        SCOPED_TRACE(blocks);
        fs::remove("x.va");
        fs::copy("begun.va", "x.va");
        const int code = Run("a x.va after/b after/d after/e",
                             "sh -c 'ulimit -f " + std::to_string(blocks) + "; exec \"$@\"' sh")
                             .exitCode;
        ExpectWholeMembers(code);
        failed += code == 0 ? 0 : 1;
    }
    EXPECT_GE(failed, 8);
    EXPECT_LT(failed, 12);
}

TEST_F(Faults, FilesOfABatchThatDoNotFitAreNamed) {
    Files files;
    for (unsigned i = 0; i < 90; ++i) files["n" + std::to_string(i)] = Noise(1000, i);
    Files paths;
    for (const auto& [name, content] : files) paths["many/" + name] = content;
    Write(paths);
    const Outcome outcome = Run("a x.va 'many/*'", "sh -c 'ulimit -f 100; exec \"$@\"' sh");
    EXPECT_EQ(outcome.exitCode, 1);
    const Files added = Unpack("x.va");
    EXPECT_GT(added.size(), 35U);
    for (const auto& [name, content] : files) {
        const std::string named = "cannot add " + name + ": the archive cannot be written";
        EXPECT_EQ(CountOf(named, outcome.problems), added.contains(name) ? 0U : 1U) << name;
        EXPECT_TRUE(!added.contains(name) || added.at(name) == content) << name;
    }
}

}  // namespace
}  // namespace Vorn::Testing
