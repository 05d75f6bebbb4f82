// delta_bench FOLDER: processor time of MakeDelta and ApplyDelta over a folder's pairs
// (FOLDER/{assets,small,large}/*/{old,new}, made by make_corpora), each corpus in one workspace.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "delta/Delta.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::byte> Read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(in), {});
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

// Returns the process's processor time in seconds, which other programs on the machine barely
// affect.
double Now() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

struct Sums {
    std::size_t pairs = 0;
    std::size_t newBytes = 0;
    std::size_t diffBytes = 0;
    std::uint64_t memory = 0;
    double make = 0;
    double apply = 0;
};

bool Measure(const fs::path& pair, delta::Workspace& workspace, Sums& sums) {
    const auto oldContent = Read(pair / "old");
    const auto newContent = Read(pair / "new");
    const double start = Now();
    const delta::Bytes diff = delta::MakeDelta(oldContent, newContent, workspace);
    const double made = Now();
    const delta::Bytes again = delta::ApplyDelta(oldContent, diff, workspace);
    sums.apply += Now() - made;
    sums.make += made - start;
    ++sums.pairs;
    sums.newBytes += newContent.size();
    sums.diffBytes += diff.size();
    sums.memory = workspace.MemoryHeld();
    return std::ranges::equal(again, newContent);
}

void Report(const char* name, const Sums& sums) {
    const auto pairs = static_cast<double>(sums.pairs);
    const double megabytes = static_cast<double>(sums.newBytes) / 1e6;
    std::printf(
        "%-7s %5zu pairs %6.1f MB, diffs %8zu bytes; make %9.1f us a pair %6.2f ms a MB; "
        "apply %9.1f us a pair %6.2f ms a MB; workspace %.1f MB\n",
        name, sums.pairs, megabytes, sums.diffBytes, sums.make * 1e6 / pairs,
        sums.make * 1e3 / megabytes, sums.apply * 1e6 / pairs, sums.apply * 1e3 / megabytes,
        static_cast<double>(sums.memory) / 1e6);
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::fputs("usage: delta_bench FOLDER\n", stderr);
        return 1;
    }
    for (const char* corpus : {"small", "assets", "large"}) {
        delta::Workspace workspace;
        Sums sums;
        for (const auto& pair : fs::directory_iterator(fs::path(argv[1]) / corpus)) {
            if (!Measure(pair.path(), workspace, sums)) {
                std::printf("%s: the content made differs\n", pair.path().c_str());
                return 1;
            }
        }
        Report(corpus, sums);
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "delta_bench: %s\n", error.what());
    return 1;
}
