// The bytes of a text form in the order of reading, with one byte of look-ahead, and their places.
//
// Reads straight from the stream's buffer, so that a byte costs no call. While a source is in use,
// only it moves the stream. For one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "assetdata/TStream.h"
#include "assetdata/TagObserver.h"
#include "assetdata/TagTextRules.h"

namespace Vorn {

class TagTextSource {
public:
    // What AdvanceTo stops at. Each also stops at a zero byte, which ends the text.
    enum Stop : std::uint8_t {
        kAfterBlanks = 1,  // anything but a blank
        kAfterName = 2,    // a blank, a line end or '}'
        kAfterQuoted = 4,  // '"' or a line end
        kAfterBare = 8,    // a line end or '}'
    };

    // Begins at the stream's position, after a UTF-8 byte-order mark if there is one. Borrows the
    // stream.
    explicit TagTextSource(TStream& stream);

    [[nodiscard]] bool HadMark() const { return hadMark_; }

    // Returns the next byte without consuming it; 0 at the end.
    [[nodiscard]] char Peek() const { return at_ < buffered_.size() ? buffered_[at_] : '\0'; }

    // Consumes the next byte, which must exist.
    void Advance() {
        const char c = buffered_[at_++];
        if (IsTagLineEnd(c)) CountLineEnd(c);
        if (at_ == buffered_.size()) Load();
    }

    // Advances to the next byte that stops it, and appends the bytes before it to `to`, if given.
    // Those must not be line ends, which only Advance counts.
    void AdvanceTo(Stop stop, std::string* to = nullptr);

    // Returns the place of the next byte.
    [[nodiscard]] TagPlace Place() const {
        const std::uint64_t offset = passed_ + at_;
        return {offset, line_, static_cast<std::uint32_t>(offset - lineStart_ + 1)};
    }

    // Moves the stream to the next byte, and returns whether that is a zero byte of the text.
    bool Finish();

private:
    void Load();
    void CountLineEnd(char c);

    TStream& stream_;
    bool hadMark_;
    std::string_view buffered_;  // what the stream has buffered
    std::size_t at_ = 0;         // of the next byte in it
    std::uint64_t passed_ = 0;   // bytes of the text before `buffered_`
    std::uint64_t lineStart_ = 0;
    std::uint32_t line_ = 1;
    char halfLineEnd_ = '\0';  // before lineStart_, if the other half may follow
};

}  // namespace Vorn
