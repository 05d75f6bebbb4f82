// Collects small writes on their way to a stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "assetdata/TStream.h"

namespace Vorn {

class StreamOutput {
public:
    explicit StreamOutput(TStream& stream) : stream_(stream) {}

    void Put(char c) { held_ += c; }
    void Put(std::size_t count, char c) {
        held_.append(count, c);
        if (held_.size() >= kMostHeld) (void)Flush();
    }
    void Put(std::string_view text) {
        if (text.size() >= kMostHeld) {
            (void)Flush();
            Write(text);
        } else {
            held_ += text;
            if (held_.size() >= kMostHeld) (void)Flush();
        }
    }
    void Put(std::span<const std::byte> bytes) {
        Put({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }

    // Writes what is collected. Returns false once something could not be written.
    bool Flush() {
        Write(held_);
        held_.clear();
        return good_;
    }
    [[nodiscard]] bool IsGood() const { return good_; }

private:
    static constexpr std::size_t kMostHeld = 1 << 16;

    void Write(std::string_view text) {
        const auto size = static_cast<std::uint32_t>(text.size());
        if (good_ && size > 0) good_ = stream_.Write(text.data(), size) == size;
    }

    TStream& stream_;
    std::string held_;
    bool good_ = true;
};

}  // namespace Vorn
