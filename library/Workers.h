// The work of several threads, with progress and errors in the words of the public headers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "library/PatchCalls.h"
#include "patch/Runs.h"

namespace va {

using patch::CutRuns;
using patch::ItemRun;

// patch::Meter for the caller's function. Both functions throw Error (Refused, "cancelled") once
// that said so.
class WorkProgress {
public:
    WorkProgress(const ProgressFunction& function, std::string_view step, std::uint64_t total)
        : function_(Passed(function)), meter_(function_, step, total) {}

    void Add(std::uint64_t bytes) {
        OfPatches([&] { meter_.Add(bytes); });
    }
    void Report(bool force = false) {
        OfPatches([&] { meter_.Report(force); });
    }
    [[nodiscard]] patch::Meter& Meter() { return meter_; }

private:
    const patch::ProgressFunction function_;
    patch::Meter meter_;
};

// patch::RunPieces. Throws Error.
template <typename Work>
void RunPieces(std::size_t pieces, unsigned threads, WorkProgress& progress, Work work) {
    OfPatches([&] { patch::RunPieces(pieces, threads, progress.Meter(), work); });
}

}  // namespace va
