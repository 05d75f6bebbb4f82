#include "library/Translate.h"

#include <algorithm>

#include "platform/CodePage.h"

namespace va {
namespace {

ErrorCode CodeOf(archive::ErrorCode code) {
    switch (code) {
        case archive::ErrorCode::NotFound:
            return ErrorCode::NotFound;
        case archive::ErrorCode::Full:
        case archive::ErrorCode::NoSpace:
            return ErrorCode::DiskFull;
        default:
            return ErrorCode::Refused;
    }
}

}  // namespace

std::string PublicName(std::string_view stored) {
    std::string name = platform::AnsiToUtf8(stored);
    std::ranges::replace(name, '\\', '/');
    return name;
}

std::string StoredBytes(std::string_view name) { return platform::Utf8ToAnsi(name); }

std::string SystemPath(const std::filesystem::path& path) { return path.string(); }

Error Translate(const archive::Error& error, const std::filesystem::path& path) {
    const std::string member = PublicName(error.Member());
    std::string message = path.string() + ": ";
    if (!member.empty()) message += member + ": ";
    message += error.Reason();
    const bool damaged = error.Code() == archive::ErrorCode::Damaged ||
                         error.Code() == archive::ErrorCode::SumDiffers;
    if (damaged) message += "; 'va test' shows all that is wrong";
    return {CodeOf(error.Code()), message, path, member, error.Offset()};
}

}  // namespace va
