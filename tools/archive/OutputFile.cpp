#include "tools/archive/OutputFile.h"

#include <filesystem>
#include <span>
#include <system_error>

#include "KernelStandard/CompressedStream.h"
#include "platform/Directories.h"

namespace Vorn {

OutputFile::~OutputFile() {
    handle_.Close();
    if (!temporary_.empty()) (void)platform::RemoveFile(temporary_.c_str());
}

bool OutputFile::Open(const std::string& path) {
    path_ = path;
    temporary_ = CreateTemporaryFile(path.substr(0, path.rfind('/') + 1), handle_);
    return !temporary_.empty();
}

std::uint32_t OutputFile::Write(const void* bytes, std::uint32_t count) {
    const std::span from(static_cast<const std::byte*>(bytes), count);
    return static_cast<std::uint32_t>(handle_.Write(from));
}

bool OutputFile::Finish() { return handle_.Close(); }

bool OutputFile::Place() {
    if (!platform::Rename(temporary_.c_str(), path_.c_str())) return false;
    temporary_.clear();
    return true;
}

bool OutputFile::Replace() {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(path_, error);
    if (std::filesystem::is_regular_file(status)) {
        std::filesystem::permissions(temporary_, status.permissions(), error);
    }
    if (!platform::ReplaceFile(temporary_.c_str(), path_.c_str())) return false;
    temporary_.clear();
    return true;
}

}  // namespace Vorn
