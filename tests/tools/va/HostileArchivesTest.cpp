// Far more members and folders than anybody packs: every reading command works or refuses, within
// bounds of memory, and nothing is written outside the folder.
#include "tests/support/RawArchive.h"
#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

// Deep names have a folder in every other byte, as many as a name can hold.
std::string NameOf(std::size_t number) {
    std::string name = std::to_string(number) + ".txt";
    if (number % 100 != 0) return "many/" + name;
    std::string deep;
    while (deep.size() + 2 + name.size() < 259) deep += "d/";
    return deep + name;
}

TEST(VaHostileArchives, ManyMembersInDeepFolders) {
    constexpr std::size_t kMembers = 100'000;
    // 64 MB and 400 bytes a member; the address space has the program and its threads as well.
    const std::string limit = VORN_SANITIZED ? "" : "ulimit -v 1000000; ";
    const TempFolder folder;
    {
        std::vector<RawMember> members(kMembers);
        for (std::size_t i = 0; i < kMembers; ++i) members[i] = {.name = NameOf(i), .data = "x"};
        folder.Write("many.va", RawArchive(members));
    }
    const auto run = [&](const std::string& words) {
        return Shell("cd " + folder.Path() + " && " + limit + VA " " + words + " >said 2>&1");
    };
    for (const auto& [words, code, told] : Table<std::string, int, std::string>{
             {"list many.va many/77777.txt", 0, "many/77777.txt\n"},
             {"list --tree many.va", 0, "many/  99.0 kB in 99,000 members\n"},
             {"info many.va", 0, "members         100000\n"},
             {"test many.va", 0, "whole, 100,000 members"},
             {"compare many.va many.va", 0, "100,000 same"},
             {"cat many.va:many/99999.txt", 0, "x"},
             {"extract -n many.va -C out", 0, "would write 100,000 files"},
             {"extract many.va d -C out", 0, "1,000 files"},
         }) {
        SCOPED_TRACE(words);
        EXPECT_EQ(run(words), code);
        EXPECT_THAT(folder.Read("said"), HasSubstr(told));
    }
    EXPECT_EQ(folder.Read("out/" + NameOf(500)), "x");
}

TEST(VaHostileArchives, AFolderOfThirtyThousandLevelsIsNoMember) {
    const TempFolder folder;
    folder.Write("town/config.txt", "x");
    // Only step by step: no path names the deepest one.
    ASSERT_EQ(InChild([&] {
                  std::error_code error;
                  fs::current_path(folder.Path("town"), error);
                  for (int level = 0; level < 30'000 && !error; ++level) {
                      fs::create_directory("d", error);
                      fs::current_path("d", error);
                  }
                  return error ? 1 : 0;
              }),
              0);
    for (const char* command :
         {"list town", "info town", "test town", "compare town town", "sums town",
          "extract town -C out", "cat town:config.txt", "diff town town -o p.va"}) {
        SCOPED_TRACE(command);
        const int code =
            Shell("cd " + folder.Path() + " && timeout 60 " VA " " + command + " >said 2>&1");
        EXPECT_TRUE(code == 0 || code == 1) << code << folder.Read("said");
    }
    EXPECT_EQ(Shell("rm -rf " + folder.Path("town")), 0);
}

}  // namespace
}  // namespace Vorn::Testing
