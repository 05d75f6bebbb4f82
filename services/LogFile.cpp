#include "services/LogFile.h"

#include <memory>
#include <utility>

#include "kernel/Exceptions.h"
#include "platform/Clock.h"
#include "platform/Threads.h"

namespace Vorn {
namespace {

constexpr int kFaultWait = 500;  // milliseconds
constexpr int kFaultPause = 10;

class VORN_SCOPED_CAPABILITY Held {
public:
    explicit Held(LogLock& lock) VORN_ACQUIRE(lock) : lock_(lock) { lock_.Enter(); }
    ~Held() VORN_RELEASE() { lock_.Leave(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

private:
    LogLock& lock_;
};

}  // namespace

void LogLock::Enter() {
    const std::uint32_t self = platform::CurrentThreadId();
    // Only this thread ever writes its own number, so a stale value cannot look like it.
    if (owner_ != self) {
        lock_.lock();
        owner_ = self;
    }
    ++depth_;
}

void LogLock::Leave() {
    if (--depth_ > 0) return;
    owner_ = 0;
    lock_.unlock();
}

bool LogLock::TryEnterFirst(int milliseconds) {
    const std::uint32_t self = platform::CurrentThreadId();
    if (owner_ == self) return false;
    // Polls, because a timed wait is not safe in a fault handler.
    for (int waited = 0; !lock_.try_lock(); waited += kFaultPause) {
        if (waited >= milliseconds) return false;
        platform::SleepMilliseconds(kFaultPause);
    }
    owner_ = self;
    depth_ = 1;
    return true;
}

bool LogFile::Open(const char* path) {
    auto file = std::make_unique<File>();
    try {
        if (file->Open(path, kWritePlain | kCreateOrTruncate) != RES_OK) return false;
    } catch (const FileEx&) {
        return false;  // a path that is too long
    }
    const Held held(lock_);
    file_ = file.release();
    ended_ = false;
    return true;
}

void LogFile::Write(std::string_view text) {
    // A file ends at 4 GiB, so a longer line could not be written anyway.
    file_->Write(text.data(), static_cast<std::uint32_t>(text.size()));
}

void LogFile::WriteThrough(std::string_view text) {
    const Held held(lock_);
    if (!file_ || ended_) return;
    Write(text);
    file_->Flush();
}

void LogFile::WriteLine(LogModule& module, std::string_view line, bool flush) {
    const Held held(lock_);
    if (!file_ || ended_ || module.busy_) return;
    struct Busy {
        explicit Busy(bool& flag) : busy(flag) { busy = true; }
        ~Busy() { busy = false; }
        bool& busy;
    };
    const Busy busy(module.busy_);
    Write(line);
    if (flush) file_->Flush();
}

void LogFile::End(std::string_view last) {
    const Held held(lock_);
    if (!file_) return;
    if (!ended_) Write(last);
    // Detached first, so that lines logged while it closes find no file.
    const std::unique_ptr<File> closing(std::exchange(file_, nullptr));
    closing->Close();
}

bool LogFile::EndAfterFault(std::string_view last) {
    if (!lock_.TryEnterFirst(kFaultWait)) return false;
    if (file_ && !ended_) {
        Write(last);
        file_->Flush();
        ended_ = true;
    }
    lock_.Leave();
    return true;
}

}  // namespace Vorn
