#include "library/Translate.h"

#include "library/PatchCalls.h"
#include "patch/Error.h"
#include "platform/CodePage.h"

namespace va {

std::string PublicName(std::string_view stored) { return patch::ShownName(stored); }

std::string StoredBytes(std::string_view name) { return platform::Utf8ToAnsi(name); }

std::string SystemPath(const std::filesystem::path& path) { return path.string(); }

Error Translate(const archive::Error& error, const std::filesystem::path& path) {
    const Error plain = Translate(patch::Error(path.string(), error));
    std::string message = plain.what();
    const bool damaged = error.Code() == archive::ErrorCode::Damaged ||
                         error.Code() == archive::ErrorCode::SumDiffers;
    if (damaged) message += "; run 'va test' to see all problems";
    return {plain.code(), message, path, plain.member(), error.Offset()};
}

}  // namespace va
