#include "platform/Error.h"

#include <cerrno>
#include <system_error>

namespace platform {
namespace {

ErrorKind KindOf(int number) {
    switch (number) {
        case 0:
            return ErrorKind::None;
        case ENOENT:
        case ENOTDIR:  // a file where a folder of the path should be
            return ErrorKind::NotFound;
        case EEXIST:
        case ENOTEMPTY:
            return ErrorKind::Exists;
        case EBUSY:
        case ETXTBSY:
        case EAGAIN:
            return ErrorKind::Busy;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:  // the other system answers "access denied" here
            return ErrorKind::Denied;
        case ENOSPC:
        case EDQUOT:
            return ErrorKind::NoSpace;
        case EFBIG:
        case EOVERFLOW:
            return ErrorKind::TooLarge;
        default:
            return ErrorKind::Other;
    }
}

}  // namespace

std::string Error::Message() const { return std::generic_category().message(number); }

Error LastError() { return {.kind = KindOf(errno), .number = errno}; }

}  // namespace platform
