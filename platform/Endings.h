// What must not outlive a run that is ended from outside.
#pragma once

#include <string>

namespace platform {

// Removes one file when the program is asked to end while this exists: by its user, by a terminal
// or reader that goes away, or by the system. The program ends by that request all the same, and
// requests that it was started to ignore stay ignored. Otherwise the file is left alone.
//
// Made before the file is, so that there is no time between; the path must be nobody else's. One
// at a time, in the one thread of a program.
class RemovedAtEnd {
public:
    explicit RemovedAtEnd(const std::string& path);
    ~RemovedAtEnd();
    RemovedAtEnd(const RemovedAtEnd&) = delete;
    RemovedAtEnd& operator=(const RemovedAtEnd&) = delete;
};

}  // namespace platform
