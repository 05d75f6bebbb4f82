// Independent pieces of work on several threads, with progress and cancelling on the caller's.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <thread>
#include <vector>

#include "vaconverter/progress.h"

namespace va {

class WorkProgress;

// Consecutive items that are one piece of work: begin to end - 1.
struct ItemRun {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// Cuts items into runs: small ones are worth no thread alone, and large ones are a run each.
template <typename SizeOf>
[[nodiscard]] std::vector<ItemRun> CutRuns(std::size_t items, SizeOf sizeOf) {
    constexpr std::size_t kMostItems = 64;
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

// Calls `work(worker, piece)` once for every piece from 0 to `pieces` - 1, in this order, on up to
// `threads` threads; worker numbers are below `threads`. After the first exception no further piece
// is begun, and of those that were thrown the one of the first piece reaches the caller: the same
// one for any number of threads. With one thread, or one piece, everything runs on the calling
// thread.
void RunPieces(std::size_t pieces, unsigned threads, WorkProgress& progress,
               const std::function<void(unsigned worker, std::size_t piece)>& work);

// Bytes that are done in a step of the work. Any thread adds; only the thread that made it calls
// the function.
class WorkProgress {
public:
    WorkProgress(const ProgressFunction& function, std::string_view step, std::uint64_t total);

    // Counts bytes. Throws Error (Refused, "cancelled") once the function said so.
    void Add(std::uint64_t bytes);

    // Calls the function if enough has happened. On the thread that made this.
    void Report(bool force = false);

private:
    const ProgressFunction& function_;
    const std::string_view step_;
    const std::uint64_t total_;
    std::atomic<std::uint64_t> done_ = 0;
    std::uint64_t reported_ = 0;
    std::atomic<bool> cancelled_ = false;
    std::thread::id home_ = std::this_thread::get_id();
};

}  // namespace va
