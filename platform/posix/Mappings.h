// The system's list of this process's memory mappings. Allocates nothing and takes no lock, so a
// thread that has faulted may use it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace platform::posix {

struct Mapping {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    bool isShared = false;     // with others, as devices are; programs are not
    std::uint64_t offset = 0;  // in the file
    std::string_view path;     // of the file; empty if there is none. Valid until the next call
};

class MappingList {
public:
    MappingList() noexcept;
    MappingList(const MappingList&) = delete;
    MappingList& operator=(const MappingList&) = delete;
    ~MappingList();

    // Sets `mapping` to the next one by rising address; false after the last.
    [[nodiscard]] bool Next(Mapping& mapping) noexcept;

private:
    // False after the last line, and for a line without an end.
    [[nodiscard]] bool NextLine(std::string_view& line) noexcept;
    [[nodiscard]] bool Fill() noexcept;

    int descriptor_;
    std::array<char, 8192> text_;  // longer than a line with the longest path
    std::size_t begin_ = 0;        // of what is left in text_
    std::size_t end_ = 0;
};

}  // namespace platform::posix
