// Work on many items by several threads, without results that have an order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "patch/InOrder.h"

namespace patch {

// Consecutive items that are one piece of work: begin to end - 1.
struct ItemRun {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// Cuts items into runs: small ones are worth no thread alone, and large ones are a run each.
template <typename SizeOf>
[[nodiscard]] std::vector<ItemRun> CutRuns(std::size_t items, SizeOf sizeOf) {
    constexpr std::size_t kMostItems = 128;
    constexpr std::uint64_t kEnoughBytes = 1 << 20;
    std::vector<ItemRun> runs;
    for (std::size_t at = 0; at < items;) {
        ItemRun run{at, at};
        for (std::uint64_t bytes = 0;
             at < items && at - run.begin < kMostItems && bytes < kEnoughBytes; ++at) {
            bytes += sizeOf(at);
        }
        run.end = at;
        runs.push_back(run);
    }
    return runs;
}

// Calls `work(worker, piece)` once for every piece from 0 to `pieces` - 1 on up to `threads`
// threads; worker numbers are below `threads`. Of what is thrown, the exception of the first piece
// that failed reaches the caller: the same one for any number of threads. With one thread
// everything runs on the calling one. Throws Cancelled.
template <typename Work>
void RunPieces(std::size_t pieces, unsigned threads, Meter& meter, Work work) {
    InOrder<bool> inOrder(
        pieces, threads, [](std::size_t) { return 0; }, 0);
    inOrder.Run(
        meter,
        [&](unsigned worker, std::size_t piece) {
            work(worker, piece);
            return true;
        },
        [](std::size_t, bool) {});
    meter.Report(true);
}

// The same for every item of the runs, each of which is a piece.
template <typename Work>
void ForEachItem(const std::vector<ItemRun>& runs, unsigned threads, Meter& meter, Work work) {
    RunPieces(runs.size(), threads, meter, [&](unsigned worker, std::size_t run) {
        for (std::size_t item = runs[run].begin; item < runs[run].end; ++item) work(worker, item);
    });
}

}  // namespace patch
