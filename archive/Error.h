// The one exception of this room: what failed, at which offset of the file, in which member.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace archive {

enum class ErrorCode {
    NotFound,      // there is no such file
    CannotOpen,    // the file exists and does not open
    CannotRead,    // the system failed to read
    NotAnArchive,  // no mark, no header, or a format version that this room does not know
    Damaged,       // bytes that contradict the format or each other
    SumDiffers,    // content that disagrees with its check sum
    CannotWrite,   // the system failed to write, such as past a size limit
    NoSpace,       // the system failed to write: the disk, or the user's share of it, is full
    Full,          // the archive would pass 4 GiB
    Refused,       // an archive that is read and not written
    BadName,       // a name that does not fit an entry
};

class Error : public std::runtime_error {
public:
    // `reason` is a clause in English. The message puts the member's name in front of it, as
    // stored: a caller that shows it escapes control bytes.
    Error(ErrorCode code, const std::string& reason, std::uint64_t offset = 0,
          std::string_view member = {})
        : std::runtime_error(member.empty() ? reason : std::string(member) + ": " + reason),
          code_(code),
          reason_(reason),
          offset_(offset),
          member_(member) {}

    [[nodiscard]] ErrorCode Code() const { return code_; }
    [[nodiscard]] const std::string& Reason() const { return reason_; }
    // Returns the offset in the file; 0 if the error concerns the whole file.
    [[nodiscard]] std::uint64_t Offset() const { return offset_; }
    // Returns the member's stored name; empty when no member is concerned.
    [[nodiscard]] const std::string& Member() const { return member_; }

private:
    ErrorCode code_;
    std::string reason_;
    std::uint64_t offset_;
    std::string member_;
};

}  // namespace archive
