// Cleaning up when the program is ended from outside.
#pragma once

#include <string>

namespace platform {

// Removes a file if the program is asked to end (by its user, by a terminal or pipe that closes, or
// by the system) while this object exists. The program then ends by that request; requests that it
// was started to ignore stay ignored. Otherwise the file is left alone.
//
// Create the object before the file, so that no moment is uncovered; no other process may use the
// path. One object at a time, in a program with one thread.
class RemovedAtEnd {
public:
    explicit RemovedAtEnd(const std::string& path);
    ~RemovedAtEnd();
    RemovedAtEnd(const RemovedAtEnd&) = delete;
    RemovedAtEnd& operator=(const RemovedAtEnd&) = delete;
};

}  // namespace platform
