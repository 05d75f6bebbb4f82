// What Delta.h keeps to itself: the memory that serves one pair of files after another.
#pragma once

#include <vector>

#include "delta/Buffer.h"
#include "delta/Delta.h"
#include "delta/Segment.h"
#include "delta/SegmentCodec.h"
#include "delta/Zstd.h"

namespace delta {

// The parts of a Workspace. Each forgets its content when it is used for another pair, and keeps
// its memory.
struct Workspace::Parts {
    OldIndex index;
    std::vector<Segment> segments;
    SegmentModels models;
    Zstd zstd;
    Buffer best;     // the smallest diff so far, at last the result of MakeDelta
    Buffer trial;    // the diff that is being tried
    Buffer applied;  // the result of ApplyDelta
};

}  // namespace delta
