#include "platform/posix/ShareLocks.h"

#include <fcntl.h>
#include <sys/types.h>

#include <array>
#include <bit>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <random>
#include <thread>

namespace platform::posix {
namespace {

constexpr off_t kFirstLockByte = off_t{1} << 62;

// Ordered so that common openers need adjacent bytes, which one system call can lock.
enum LockByte : unsigned { kDeniesReading, kWrites, kReads, kDeniesWriting, kLockByteCount };

// The change lock's byte, after those that openers hold.
constexpr unsigned kChanges = kLockByteCount;

// Bits 1 << LockByte.
using LockSet = unsigned;

constexpr LockSet Bit(LockByte byte) { return 1U << byte; }

LockSet BytesOf(Access access, Share share) {
    LockSet set = 0;
    set |= access != Access::Write ? Bit(kReads) : 0;
    set |= access != Access::Read ? Bit(kWrites) : 0;
    set |= share == Share::DenyAll ? Bit(kDeniesReading) : 0;
    set |= share != Share::DenyNone ? Bit(kDeniesWriting) : 0;
    return set;
}

// Returns the bytes that no other opener may hold beside one that holds `own`.
LockSet ConflictsOf(LockSet own) {
    constexpr std::array<LockByte, kLockByteCount> kOpposite = {kReads, kDeniesWriting,
                                                                kDeniesReading, kWrites};
    LockSet set = 0;
    for (unsigned byte = 0; byte < kLockByteCount; ++byte) {
        set |= (own & (1U << byte)) != 0 ? Bit(kOpposite.at(byte)) : 0;
    }
    return set;
}

struct flock LockOn(unsigned first, unsigned count, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = kFirstLockByte + static_cast<off_t>(first);
    lock.l_len = static_cast<off_t>(count);
    return lock;
}

// Calls `visit(first, count)` for every run of adjacent bytes in `set`, until it returns false.
template <typename Visit>
bool ForEachRun(LockSet set, const Visit& visit) {
    while (set != 0) {
        const auto first = static_cast<unsigned>(std::countr_zero(set));
        const auto count = static_cast<unsigned>(std::countr_one(set >> first));
        if (!visit(first, count)) return false;
        set &= ~(((1U << count) - 1) << first);
    }
    return true;
}

bool Place(int descriptor, LockSet set) {
    return ForEachRun(set, [descriptor](unsigned first, unsigned count) {
        struct flock lock = LockOn(first, count, F_RDLCK);
        return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
    });
}

void Withdraw(int descriptor) {
    struct flock lock = LockOn(0, kLockByteCount, F_UNLCK);
    fcntl(descriptor, F_OFD_SETLK, &lock);
}

bool HeldByAnother(int descriptor, LockSet set) {
    return !ForEachRun(set, [descriptor](unsigned first, unsigned count) {
        struct flock lock = LockOn(first, count, F_WRLCK);
        return fcntl(descriptor, F_OFD_GETLK, &lock) != 0 || lock.l_type == F_UNLCK;
    });
}

// True if errno says that the file system has no locks.
bool LacksLocks() {
    return errno == EINVAL || errno == ENOLCK || errno == ENOTSUP || errno == ENOSYS;
}

// Long enough for another opener to finish or withdraw; random, so that two openers that collided
// do not collide again.
void PauseBriefly() {
    thread_local std::minstd_rand random(std::random_device{}());
    const std::uint32_t microseconds =
        std::uniform_int_distribution<std::uint32_t>(50, 350)(random);
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

}  // namespace

bool PlaceShareLocks(int descriptor, Access access, Share share) {
    constexpr int kAttempts = 6;
    const LockSet own = BytesOf(access, share);
    const bool places = share != Share::CheckOnly;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (attempt > 0) {
            PauseBriefly();
        }
        // Lock first, test second: of two racing openers at least one sees the other.
        if (places && !Place(descriptor, own)) {
            return LacksLocks();
        }
        if (!HeldByAnother(descriptor, ConflictsOf(own))) {
            return true;
        }
        if (places) Withdraw(descriptor);
    }
    errno = EBUSY;
    return false;
}

bool TakeChangeLock(int descriptor) {
    struct flock lock = LockOn(kChanges, 1, F_WRLCK);
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0 || LacksLocks();
}

bool OthersHoldChangeLock(int descriptor) {
    struct flock lock = LockOn(kChanges, 1, F_WRLCK);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

void DropChangeLock(int descriptor) {
    struct flock lock = LockOn(kChanges, 1, F_UNLCK);
    fcntl(descriptor, F_OFD_SETLK, &lock);
}

}  // namespace platform::posix
