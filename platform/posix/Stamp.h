// The state of a file's content, from what the system says about the file.
#pragma once

#include <sys/stat.h>

#include "platform/Files.h"

namespace platform::posix {

[[nodiscard]] inline FileStamp StampOf(const struct stat& status) {
    constexpr std::int64_t kNanoseconds = 1'000'000'000;
    return {.size = static_cast<std::uint64_t>(status.st_size),
            .written = status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
}

}  // namespace platform::posix
