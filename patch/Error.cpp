#include "patch/Error.h"

#include <algorithm>

#include "platform/CodePage.h"

namespace patch {
namespace {

ErrorCode CodeOf(archive::ErrorCode code) {
    switch (code) {
        case archive::ErrorCode::NotFound:
            return ErrorCode::NotFound;
        case archive::ErrorCode::Full:
        case archive::ErrorCode::NoSpace:
            return ErrorCode::NoSpace;
        default:
            return ErrorCode::Refused;
    }
}

}  // namespace

std::string ShownName(std::string_view stored) {
    std::string name = platform::AnsiToUtf8(stored);
    std::ranges::replace(name, '\\', '/');
    return name;
}

Error::Error(ErrorCode code, const std::string& path, const std::string& reason,
             std::string_view member)
    : std::runtime_error(path + ": " + (member.empty() ? "" : ShownName(member) + ": ") + reason),
      code_(code),
      path_(path),
      member_(ShownName(member)) {}

Error::Error(const std::string& path, const archive::Error& error)
    : Error(CodeOf(error.Code()), path, error.Reason(), error.Member()) {}

}  // namespace patch
