// Kills and failing system calls while a new archive is written: its name has what it had before,
// or all of the new archive, and the next run removes what a killed one left.
#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

class VaNewArchiveAccidents : public VaProgram {
protected:
    void SetUp() override {
        folder_.Write("town/Wall.tga", Noise(70000));
        folder_.Write("town/maps/one.txt", Prose(30000));
        folder_.Write("town/empty", "");
        ASSERT_EQ(Va("create -q Good.va town").exitCode, 0);
        folder_.Write("more/maps/one.txt", Prose(31000));
        folder_.Write("Used.va", folder_.Read("Good.va"));
        ASSERT_EQ(Va("add -q Used.va more").exitCode, 0);
        std::string bad = folder_.Read("Good.va");
        bad.at(bad.find("Wall.tga") + 1000) ^= 1;
        folder_.Write("Bad.va", bad);
    }

    // Runs `words` with the nth of these calls tampered with; returns whether there was one.
    bool Tampered(const std::string& words, const std::string& calls, const std::string& how,
                  int nth, int& code) const {
        const TempFolder traces;
        code = Shell("cd " + folder_.Path() + " && exec strace -f -o " + traces.Path("trace") +
                     " -e trace=" + calls + " -e inject=" + calls + ":" + how +
                     ":when=" + std::to_string(nth) + " " VA " " + words + " >/dev/null 2>&1");
        const std::string trace = traces.Read("trace");
        return trace.find("(INJECTED)") != std::string::npos ||
               trace.find("+++ killed by SIGKILL") != std::string::npos;
    }

    // Also those that have no names to list.
    [[nodiscard]] std::set<std::string> AllNames() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_.Path())) {
            names.insert(entry.path().filename());
        }
        return names;
    }

    // What the archive has under its name: nothing is null.
    [[nodiscard]] std::optional<std::string> Found() const {
        if (!folder_.Has("Out.va")) return std::nullopt;
        return folder_.Read("Out.va");
    }
};

TEST_F(VaNewArchiveAccidents, LeaveTheOldArchiveOrTheNewOne) {
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    }
    const std::string used = folder_.Read("Used.va");
    const Table<std::string, std::optional<std::string>> kRows = {
        {"create -j1 Out.va town", std::nullopt},
        {"create -j1 -f --compress=none Out.va town", used},
        {"repack -j1 Out.va", used},
        {"repack -j1 --compress=none -f Used.va -o Out.va", "not an archive"},
        {"repair -j1 Bad.va --from=Good.va -o Out.va", std::nullopt},
        {"repair -j1 Bad.va --from=Good.va -f -o Out.va", used},
    };
    const Table<std::string, std::string> kFaults = {
        {"pwrite64", "error=EIO"}, {"pwrite64", "signal=KILL"}, {"fsync", "error=EIO"},
        {"fsync", "signal=KILL"},  {"linkat", "error=EIO"},     {"linkat", "signal=KILL"},
        {"/^rename", "error=EIO"}, {"/^rename", "signal=KILL"}, {"/chmod", "error=EPERM"},
        {"/chmod", "signal=KILL"}, {"pread64", "error=EIO"},    {"pread64", "signal=KILL"},
    };
    int tampered = 0;
    int olds = 0;
    int news = 0;
    int leftovers = 0;
    const std::set<std::string> others = AllNames();
    for (const auto& [words, before] : kRows) {
        const auto begin = [&, &old = before] {
            fs::remove(folder_.Path("Out.va"));
            if (old) folder_.Write("Out.va", *old);
        };
        begin();
        ASSERT_EQ(Va(words).exitCode, 0) << words;
        const auto after = Found();
        std::set<std::string> names = AllNames();
        for (const auto& [calls, how] : kFaults) {
            // Repair takes what cannot be read for lost, and may save it from the good copy.
            if (words.starts_with("repair") && calls == "pread64" && how == "error=EIO") continue;
            bool any = true;
            for (int nth = 1; any; ++nth) {
                SCOPED_TRACE(words + ": " + calls + " " + how + " " + std::to_string(nth));
                begin();
                int code = 0;
                any = Tampered(words, calls, how, nth, code);
                const auto found = Found();
                EXPECT_TRUE(found == before || found == after);
                EXPECT_TRUE(code != 0 || found == after) << "what failed says so";
                names = AllNames();
                names.erase("Out.va");
                const bool isLeft = names != others;
                EXPECT_TRUE(!isLeft || how == "signal=KILL") << "what fails leaves nothing";
                if (isLeft) {
                    begin();
                    EXPECT_EQ(Va(words).exitCode, 0);
                    EXPECT_TRUE(Found() == after);
                    fs::remove(folder_.Path("Out.va"));
                    EXPECT_EQ(AllNames(), others) << "the next run removes it";
                }
                tampered += any ? 1 : 0;
                news += any && found == after ? 1 : 0;
                olds += any && found == before ? 1 : 0;
                leftovers += isLeft ? 1 : 0;
                ASSERT_LT(nth, 200);
                if (HasFailure()) return;
            }
        }
        fs::remove(folder_.Path("Out.va"));
    }
    std::cout << tampered << " calls: " << olds << " old, " << news << " new, " << leftovers
              << " with a leftover that the next run removed\n";
    EXPECT_GT(olds, 60);
    EXPECT_GT(news, 5);
    EXPECT_GT(leftovers, 0);
}

}  // namespace
}  // namespace Vorn::Testing
