#include "platform/posix/Mappings.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

namespace platform::posix {
namespace {

// "start-end access offset device inode path", then blanks and the path, if any.
Mapping ParseMapping(std::string_view line) {
    const auto takeField = [&line](char separator) {
        const std::string_view field = line.substr(0, line.find(separator));
        line.remove_prefix(field.size());
        line.remove_prefix(std::min(line.find_first_not_of(separator), line.size()));
        return field;
    };
    const auto number = [](std::string_view digits) {
        constexpr int kHexadecimal = 16;
        std::uint64_t value = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), value, kHexadecimal);
        return value;
    };
    Mapping mapping;
    mapping.start = number(takeField('-'));
    mapping.end = number(takeField(' '));
    mapping.isShared = takeField(' ').ends_with('s');
    mapping.offset = number(takeField(' '));
    takeField(' ');
    takeField(' ');
    mapping.path = line;
    return mapping;
}

}  // namespace

MappingList::MappingList() noexcept : descriptor_(open("/proc/self/maps", O_RDONLY | O_CLOEXEC)) {}

MappingList::~MappingList() {
    if (descriptor_ >= 0) close(descriptor_);
}

bool MappingList::Next(Mapping& mapping) noexcept {
    std::string_view line;
    if (!NextLine(line)) return false;
    mapping = ParseMapping(line);
    return true;
}

bool MappingList::NextLine(std::string_view& line) noexcept {
    for (;;) {
        const std::string_view left(text_.data() + begin_, end_ - begin_);
        const std::size_t length = left.find('\n');
        if (length != std::string_view::npos) {
            line = left.substr(0, length);
            begin_ += length + 1;
            return true;
        }
        if (!Fill()) return false;
    }
}

bool MappingList::Fill() noexcept {
    std::memmove(text_.data(), text_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    ssize_t count = 0;
    do {
        count = read(descriptor_, text_.data() + end_, text_.size() - end_);
    } while (count < 0 && errno == EINTR);
    end_ += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    return count > 0;
}

}  // namespace platform::posix
