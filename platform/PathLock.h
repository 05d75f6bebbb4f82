// A lock between processes, named by a path.
//
// The lock is an empty file that exists while the lock is held. The system frees the lock however
// its process ends; a killed process leaves the file, and the next holder takes it over. The holder
// removes the file before it releases the lock, so a process that finds it has locked a removed
// file tries again.
//
// Advisory: only other PathLocks see it. A file system without lock support grants every lock.
// Threads: each object is used by one thread at a time.
#pragma once

#include <string>

namespace platform {

class PathLock {
public:
    enum class Result {
        Held,
        Busy,    // another process, or another object of this one, holds it
        Failed,  // the file cannot be created or opened, is a link, or is not empty
    };

    PathLock() noexcept = default;
    PathLock(const PathLock&) = delete;
    PathLock& operator=(const PathLock&) = delete;
    // Releases the lock.
    ~PathLock();

    // Takes the lock without waiting. Releases the one held before.
    [[nodiscard]] Result TryAcquire(const char* path);
    void Release() noexcept;

private:
    std::string path_;
    int descriptor_ = -1;
};

}  // namespace platform
