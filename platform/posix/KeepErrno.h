// Restores errno at the end of a scope, so that the clean-up after a failure does not replace its
// reason (see platform/Error.h). Not for signal handlers that may be left by a jump.
#pragma once

#include <cerrno>

namespace platform::posix {

class KeepErrno {
public:
    KeepErrno() = default;
    ~KeepErrno() { errno = number_; }
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;

private:
    const int number_ = errno;
};

}  // namespace platform::posix
