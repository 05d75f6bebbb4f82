#include "platform/posix/RawFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

namespace platform::posix {

bool WriteAll(int descriptor, std::span<const std::byte> bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

std::string_view ReadText(const char* path, std::span<char> buffer) noexcept {
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return {};
    std::size_t length = 0;
    ssize_t count = 0;
    do {
        count = read(descriptor, buffer.data() + length, buffer.size() - length);
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    } while (count > 0 || (count < 0 && errno == EINTR));
    close(descriptor);
    return {buffer.data(), length};
}

std::uint64_t NumberAfter(std::string_view text, std::string_view label) noexcept {
    while (!text.starts_with(label)) {
        const std::size_t lineEnd = text.find('\n');
        if (lineEnd == std::string_view::npos) return 0;
        text.remove_prefix(lineEnd + 1);
    }
    text.remove_prefix(std::min(text.find_first_of("0123456789"), text.size()));
    std::uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace platform::posix
