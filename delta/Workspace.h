#pragma once

#include <vector>

#include "delta/Buffer.h"
#include "delta/Delta.h"
#include "delta/Segment.h"
#include "delta/SegmentCodec.h"
#include "delta/Zstd.h"

namespace delta {

// What a Workspace holds. Each part forgets what it knew when it is used for another pair.
struct Workspace::Parts {
    OldIndex index;
    std::vector<Segment> segments;
    SegmentModels models;
    Zstd zstd;
    Buffer best;     // the smallest diff so far; the result of MakeDelta in the end
    Buffer trial;    // the one that is being tried
    Buffer applied;  // the result of ApplyDelta
};

}  // namespace delta
