#include "platform/windows/ChangeLocks.h"

#include <atomic>
#include <mutex>
#include <set>

#include "platform/Lock.h"

namespace platform::windows {
namespace {

constexpr DWORD kOffsetHigh = 1U << 30U;  // 2^62 in all

Lock listLock;
std::atomic<unsigned> holderCount = 0;  // lets every close of other files skip the list

std::set<HANDLE>& Holders() {
    static auto& holders = *new std::set<HANDLE>;  // files may be closed while the process ends
    return holders;
}

bool Holds(HANDLE file) {
    const std::lock_guard guard(listLock);
    return Holders().contains(file);
}

bool TryLock(HANDLE file) {
    OVERLAPPED place{};
    place.OffsetHigh = kOffsetHigh;
    return LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) !=
           0;
}

void Unlock(HANDLE file) {
    OVERLAPPED place{};
    place.OffsetHigh = kOffsetHigh;
    UnlockFileEx(file, 0, 1, 0, &place);
}

bool IsHeldByAnother() {
    const DWORD error = GetLastError();
    return error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING;
}

}  // namespace

bool TakeChangeLock(HANDLE file) {
    if (Holds(file)) return true;
    if (!TryLock(file)) return !IsHeldByAnother();
    const std::lock_guard guard(listLock);
    Holders().insert(file);
    holderCount = static_cast<unsigned>(Holders().size());
    return true;
}

bool OthersHoldChangeLock(HANDLE file) {
    if (Holds(file)) return false;
    if (!TryLock(file)) return IsHeldByAnother();
    Unlock(file);
    return false;
}

void DropChangeLock(HANDLE file) {
    if (!Holds(file)) return;
    ForgetChangeLock(file);
    Unlock(file);
}

void ForgetChangeLock(HANDLE file) noexcept {
    if (holderCount.load(std::memory_order_relaxed) == 0) return;
    const std::lock_guard guard(listLock);
    Holders().erase(file);
    holderCount = static_cast<unsigned>(Holders().size());
}

}  // namespace platform::windows
