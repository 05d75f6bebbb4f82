// The inside of delta::Workspace: memory that is reused from one pair of files to the next.
#pragma once

#include <vector>

#include "delta/Buffer.h"
#include "delta/Delta.h"
#include "delta/Segment.h"
#include "delta/SegmentCodec.h"
#include "delta/Zstd.h"

namespace delta {

// The parts of a Workspace. Each clears its content when it is used for another pair, but keeps its
// memory.
struct Workspace::Parts {
    OldIndex index;
    std::vector<Segment> segments;
    SegmentModels models;
    Zstd zstd;
    Buffer best;     // the smallest diff so far; finally the result of MakeDelta
    Buffer trial;    // the diff that is being tried
    Buffer applied;  // the result of ApplyDelta
};

}  // namespace delta
