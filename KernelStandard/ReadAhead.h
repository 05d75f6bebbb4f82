// Small reads at rising offsets of a file, gathered into reads of a page.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "platform/Files.h"

namespace Vorn {

// Borrows the file, which must not be written to meanwhile.
class ReadAhead {
public:
    explicit ReadAhead(const platform::FileHandle& file) : file_(file) {}

    // All of `into` (at most a page) from `offset`, or false.
    [[nodiscard]] bool Read(std::uint64_t offset, std::span<std::byte> into) {
        if (offset < start_ || offset + into.size() > start_ + held_) {
            const std::int64_t got = file_.ReadAt(offset, page_);
            failed_ = got < 0;
            start_ = offset;
            held_ = failed_ ? 0 : static_cast<std::size_t>(got);
            if (held_ < into.size()) return false;
        }
        std::memcpy(into.data(), page_.data() + (offset - start_), into.size());
        return true;
    }

    // Whether the last read of the file failed, rather than met its end.
    [[nodiscard]] bool Failed() const { return failed_; }

private:
    const platform::FileHandle& file_;
    std::array<std::byte, 4096> page_;
    std::uint64_t start_ = 0;
    std::size_t held_ = 0;
    bool failed_ = false;
};

}  // namespace Vorn
