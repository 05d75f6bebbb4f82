// The exception of this room, for people: which file, which member, why, and what to do next.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "archive/Error.h"

namespace patch {

// Returns a stored name as people see it: UTF-8, '/' between components.
[[nodiscard]] std::string ShownName(std::string_view stored);

enum class ErrorCode {
    Refused,   // damaged, not what was expected, or not done
    NotFound,  // no such file
    NoSpace,   // the disk is full, or the archive would pass 4 GiB
    NoMemory,  // more than the caller allows
};

class Error : public std::runtime_error {
public:
    // what() is "PATH: MEMBER: REASON" in UTF-8. `member` is a stored name; may be empty.
    Error(ErrorCode code, const std::string& path, const std::string& reason,
          std::string_view member = {});
    // Reports what the archive room says about the file at `path`.
    Error(const std::string& path, const archive::Error& error);

    [[nodiscard]] ErrorCode Code() const { return code_; }
    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] const std::string& Member() const { return member_; }  // in UTF-8

private:
    ErrorCode code_;
    std::string path_;
    std::string member_;
};

// Calls `work`; what the room below throws about the file at `path` becomes Error.
template <typename Work>
auto About(const std::string& path, Work work) -> decltype(work()) {
    try {
        return work();
    } catch (const archive::Error& error) {
        throw Error(path, error);
    }
}

}  // namespace patch
