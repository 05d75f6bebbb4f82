// The log's file and its lock.
//
// Constant-initialised and without a destructor: other static objects may log before any static
// object of this room is constructed and after it is destroyed. Threads: any.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include "KernelStandard/File.h"
#include "platform/Lock.h"
#include "platform/ThreadAnnotations.h"
#include "services/LogModule.h"

namespace Vorn {

// A thread may enter again: an operation inside the file may itself write to the log. Not a
// std::recursive_mutex, which is constant-initialised on some systems only.
class VORN_CAPABILITY("log lock") LogLock {
public:
    void Enter() VORN_ACQUIRE();
    void Leave() VORN_RELEASE();
    // Enters for a fault handler. Returns false if the calling thread already holds the lock, or
    // another one holds it for all of that time.
    [[nodiscard]] bool TryEnterFirst(int milliseconds) VORN_NO_THREAD_SAFETY_ANALYSIS;

private:
    platform::Lock lock_;
    std::atomic<std::uint32_t> owner_ = 0;  // thread id of the holder; 0 without one
    int depth_ = 0;                         // how often the holder has entered; under lock_
};

class LogFile {
public:
    // Replaces an existing file.
    [[nodiscard]] bool Open(const char* path);

    // Writes and flushes.
    void WriteThrough(std::string_view text);
    // Writes a line of a module. Drops a line that arises while the same module writes another,
    // which can only happen on one thread: it would recurse without end.
    void WriteLine(LogModule& module, std::string_view line, bool flush);

    // Writes `last` and closes the file. Does nothing if no file is open.
    void End(std::string_view last);
    // Ends the log without closing the file, as ShutdownLogAfterFault promises.
    bool EndAfterFault(std::string_view last) VORN_NO_THREAD_SAFETY_ANALYSIS;

private:
    void Write(std::string_view text) VORN_REQUIRES(lock_);

    LogLock lock_;
    File* file_ VORN_GUARDED_BY(lock_) = nullptr;  // owned; open
    bool ended_ VORN_GUARDED_BY(lock_) = false;    // after a fault
};

}  // namespace Vorn
