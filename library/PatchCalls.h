// From the room of patches to the words of the public headers: errors, progress, streams.
#pragma once

#include <vector>

#include "patch/Error.h"
#include "patch/Meter.h"
#include "patch/compact/CompactFile.h"
#include "vaconverter/error.h"
#include "vaconverter/patch.h"
#include "vaconverter/progress.h"

namespace va {

[[nodiscard]] Error Translate(const patch::Error& error);

// The caller's function for the room below, which borrows it.
[[nodiscard]] inline patch::ProgressFunction Passed(const ProgressFunction& progress) {
    if (!progress) return {};
    return [&progress](std::string_view step, std::uint64_t done, std::uint64_t total) {
        return progress({step, done, total});
    };
}

// Returns the streams of a compact patch, for people.
[[nodiscard]] std::vector<PatchStream> StreamsOf(const patch::compact::CompactFile& patch);

// Calls `work`; what the room of patches throws becomes Error.
template <typename Work>
auto OfPatches(Work work) -> decltype(work()) {
    try {
        return work();
    } catch (const patch::Error& error) {
        throw Translate(error);
    } catch (const patch::Cancelled&) {
        throw Error(ErrorCode::Refused, "cancelled");
    }
}

}  // namespace va
